"""Makes the copy of a source that has its mutation points."""

# The copies are not what the warnings are for.
NO_WARNINGS = "".join(f'#pragma GCC diagnostic ignored "-W{name}"\n' for name in (
    "conversion", "sign-conversion", "sign-compare", "shadow", "parentheses", "logical-op",
    "duplicated-cond", "unused-value", "unused-variable", "unused-but-set-variable",
    "unused-function", "return-type", "implicit-fallthrough", "type-limits", "dangling-else",
    "empty-body", "float-conversion", "extra", "unused-const-variable"))


def ordered(edits):
    """What closes comes ahead of what opens at the same place; the inner closes first and opens
    last. Of two with one extent the one that was added first is the outer one."""
    def place(numbered):
        index, edit = numbered
        width = edit.span[1] - edit.span[0]
        return (edit.start, 0, width, -index) if edit.closes else (edit.start, 1, -width, index)

    return [edit for _, edit in sorted(enumerate(edits), key=place)]


def render(raw, edits, start, end):
    """[start, end) of the source with those of the edits that lie in it."""
    out = []
    at = start
    for edit, text in edits:
        outside = edit.start < start or edit.end > end
        if outside or edit.start == (start if edit.closes else end):
            continue
        out.append(raw[at:edit.start].decode() + text)
        at = edit.end
    out.append(raw[at:end].decode())
    return "".join(out)


def rewritten(source, dropped):
    """The text of the copy. `dropped` are the edits that the copy is not to have, by their index,
    because it could not be compiled with them."""
    raw = source.raw
    kept = {id(e): e for i, e in enumerate(source.edits) if i not in dropped}
    swaps = [s for s in source.swaps if all(id(e) in kept for side in s[1:] for e in side["edits"])]
    swapped = {s[0] for s in swaps}
    behind = {}

    def text(edit):
        if edit.text is not None:
            return edit.text
        if edit.closes:
            return " }" + behind.get(id(edit), "")
        keep = [p for i, p in enumerate(edit.points) if i == 0 or p in swapped]
        return "{ if (" + " && ".join(f"mutant::keeps({p})" for p in keep) + ") "

    edits = ordered(list(kept.values()))
    for number, first, second in swaps:
        own = {id(e) for e in first["edits"]}
        inner = [(e, text(e)) for e in edits if id(e) not in own]
        moved = " ".join(render(raw, inner, first["start"], first["end"]).split("\n"))
        behind[id(second["edits"][1])] = f" {{ if (mutant::on({number})) {{ {moved} }} }}"
    body = render(raw, [(e, text(e)) for e in edits], 0, len(raw))
    quiet = "#pragma GCC system_header\n" if source.path.endswith(".h") else NO_WARNINGS
    # Once a header is the system's, it stays that only up to the next `#line`: ahead of it.
    line = f'#line 1 "{source.path}"\n'
    include = '#include "tools/mutate/Mutant.h"\n'
    if source.path.endswith(".h"):
        return include + line + quiet + "#line 1\n" + body
    return quiet + include + line + body
