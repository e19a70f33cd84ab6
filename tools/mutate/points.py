"""Finds the mutation points of a source file, and makes the copy of it that has them all.

A point is a place where the copy asks whether its number is on, and then does something else than
the source. What the points call is in Mutant.h. Lines stay where they are.
"""

import re

import clang.cindex as ci

from marks import Edit, bytes_of, shown

Kind = ci.CursorKind

COMPARISONS = {
    "==": ("equal", "!=", None),
    "!=": ("unequal", "==", None),
    "<": ("less", "<=", ">="),
    "<=": ("lessOrEqual", "<", ">"),
    ">": ("greater", ">=", "<="),
    ">=": ("greaterOrEqual", ">", "<"),
}
GUARDS = ("ScopedLock", "lock_guard", "scoped_lock", "unique_lock")
# What these hold is looked at by the compiler, or is a name and no value.
NOT_ENTERED = {
    Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.TYPEDEF_DECL, Kind.TYPE_ALIAS_DECL,
    Kind.TYPE_ALIAS_TEMPLATE_DECL, Kind.CXX_UNARY_EXPR, Kind.PARM_DECL, Kind.TYPE_REF,
    Kind.TEMPLATE_REF, Kind.NAMESPACE_REF, Kind.USING_DECLARATION, Kind.FRIEND_DECL,
}
INTEGERS = {
    ci.TypeKind.SHORT, ci.TypeKind.USHORT, ci.TypeKind.INT, ci.TypeKind.UINT, ci.TypeKind.LONG,
    ci.TypeKind.ULONG, ci.TypeKind.LONGLONG, ci.TypeKind.ULONGLONG, ci.TypeKind.UCHAR,
    ci.TypeKind.SCHAR, ci.TypeKind.CHAR_S, ci.TypeKind.WCHAR,
}


class SourceFile:
    """One file: `edits` after `find`, and `rewritten`."""

    def __init__(self, name, path, numbers, relative):
        self.name = name
        self.path = path
        self.raw = bytes_of(path)
        self.numbers = numbers
        self.relative = relative  # a path's name in the product; None if it is not the product's
        self.edits = []
        self.swaps = []
        self.left_out = 0
        self.taken = set()
        self.lines = self.raw.decode().split("\n")

    def forget_reader(self):
        """What is found can be kept without it."""
        self.numbers = self.relative = None
        self.taken = set()

    # --- where things stand -----------------------------------------------------------------------

    def text(self, start, end):
        return self.raw[start:end].decode()

    def line_of(self, offset):
        return self.raw.count(b"\n", 0, offset) + 1

    def extent(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def point(self, offset, operator, detail):
        line = self.line_of(offset)
        return self.numbers.new(self.name, line, operator, shown(detail),
                                self.lines[line - 1].strip())

    def add(self, start, end, text, span, closes=False, points=()):
        self.edits.append(Edit(start, end, text, self.line_of(start), span, closes, list(points)))

    def wrap(self, start, end, before, after, points):
        self.add(start, start, before, (start, end), False, points)
        self.add(end, end, after, (start, end), True, points)

    def once(self, what, start, end):
        """A macro brings several parts of the tree to one place: only the first counts."""
        if (what, start, end) in self.taken:
            return False
        self.taken.add((what, start, end))
        return True

    # --- the walk ---------------------------------------------------------------------------------

    def find(self, unit):
        for cursor in unit.cursor.get_children():
            where = cursor.location.file
            if where is not None and where.name == self.path:
                self.visit(cursor, None)

    def visit(self, cursor, parent):
        kind = cursor.kind
        if kind in NOT_ENTERED:
            return
        if kind == Kind.DECL_REF_EXPR:
            self.constant_use(cursor, parent)
            return
        if kind == Kind.VAR_DECL:
            self.variable(cursor)
            return
        if kind in (Kind.FUNCTION_DECL, Kind.FUNCTION_TEMPLATE):
            if re.search(r"\b(consteval|constexpr)\b",
                         self.text(cursor.extent.start.offset, cursor.location.offset)):
                return
        children = list(cursor.get_children())
        self.judge(cursor, parent, children)
        if kind == Kind.CASE_STMT:
            children = children[1:]
        elif kind == Kind.MEMBER_REF_EXPR:
            children = [c for c in children if c.kind.is_expression()]
        for child in children:
            self.visit(child, cursor)

    def judge(self, cursor, parent, children):
        kind = cursor.kind
        if kind == Kind.COMPOUND_STMT:
            self.statements(children)
        elif kind in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.DO_STMT, Kind.FOR_STMT,
                      Kind.CXX_FOR_RANGE_STMT):
            self.condition(cursor, children)
            # A single statement stands for a block.
            bodies = {Kind.IF_STMT: children[1:], Kind.DO_STMT: children[:1]}
            for child in bodies.get(kind, children[-1:]):
                if not child.kind.is_expression() or self.ends_statement(child):
                    self.statements([child])
        elif kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            self.statements(children[-1:])
        elif kind == Kind.CONDITIONAL_OPERATOR:
            self.negate(children[0])
        elif kind == Kind.SWITCH_STMT:
            self.cases(cursor, children)
        elif kind == Kind.RETURN_STMT:
            self.returned(children)
        elif kind in (Kind.BINARY_OPERATOR, Kind.CALL_EXPR):
            self.operator(cursor, children)
        elif kind in (Kind.INTEGER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR, Kind.STRING_LITERAL,
                      Kind.CHARACTER_LITERAL):
            self.literal(cursor)

    # --- declarations -----------------------------------------------------------------------------

    def variable(self, cursor):
        start, end = self.extent(cursor)
        name = cursor.location.offset
        head = self.text(start, name)
        if any(guard in head for guard in GUARDS):
            self.lock(cursor, head, start, name, end)
            return
        if re.search(r"\bconstexpr\b", self.text(max(0, start - 40), name).split(";")[-1]):
            # A table keeps its place in memory when it is no constant of the compiler's any more.
            if cursor.type.get_canonical().kind == ci.TypeKind.CONSTANTARRAY or "array<" in head:
                self.table(cursor, start, head, name)
            return
        # A text that an array begins with, and the size of an array, are the compiler's.
        is_array = cursor.type.kind in (ci.TypeKind.CONSTANTARRAY, ci.TypeKind.INCOMPLETEARRAY)
        begins = self.raw.find(b"=", name, end)
        for child in cursor.get_children():
            at = child.extent.start.offset
            if at <= name or not (child.kind.is_expression()):
                continue
            if is_array and (begins < 0 or at < begins or child.kind == Kind.STRING_LITERAL):
                continue
            self.visit(child, cursor)

    def lock(self, cursor, head, start, name, end):
        guard = re.sub(r"\bconst\b", "", head).strip()
        opens = self.raw.find(b"(", name, end)
        if opens < 0:
            opens = self.raw.find(b"{", name, end)
        if opens < 0 or not self.once("lock", start, end):
            return
        point = self.point(start, "lock", "removed")
        self.add(start, name, f"mutant::Maybe<{guard}> ", (start, end), False, [point])
        self.add(opens + 1, opens + 1, f"{point}, ", (start, end), False, [point])

    def table(self, cursor, start, head, name):
        element = cursor.type.get_array_element_type() if cursor.type.kind in (
            ci.TypeKind.CONSTANTARRAY, ci.TypeKind.INCOMPLETEARRAY) else None
        if element is not None and element.get_canonical().kind not in (
                ci.TypeKind.RECORD, ci.TypeKind.POINTER):
            return
        at = self.raw.rfind(b"constexpr", max(0, start - 40), name)
        if not self.once("table", at, at):
            return
        end = at + len(b"constexpr")
        elsewhere = re.search(rb"\bconst\b", self.raw[end:name])
        self.add(at, end, "" if elsewhere else "const", (at, end))
        for child in cursor.get_children():
            if child.extent.start.offset > name and child.kind.is_expression():
                self.visit(child, cursor)

    # --- statements -------------------------------------------------------------------------------

    def ends_statement(self, cursor):
        """Where the statement ends, behind its semicolon; 0 if it is none by itself."""
        rest = self.raw[cursor.extent.end.offset:cursor.extent.end.offset + 40]
        match = re.match(rb"\s*;", rest)
        return cursor.extent.end.offset + match.end() if match else 0

    def has_call(self, cursor):
        return any(c.kind == Kind.CALL_EXPR and c.spelling not in ("operator[]", "")
                   for c in cursor.walk_preorder())

    def droppable(self, cursor):
        kind = cursor.kind
        if kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.RETURN_STMT):
            return kind.name.split("_")[0].lower() if not list(cursor.get_children()) else None
        if not kind.is_expression():
            return None
        inner = cursor
        while inner.kind == Kind.UNEXPOSED_EXPR:
            below = list(inner.get_children())
            if len(below) != 1:
                break
            inner = below[0]
        return {Kind.CALL_EXPR: "call", Kind.CXX_THROW_EXPR: "throw",
                Kind.BINARY_OPERATOR: "assignment", Kind.COMPOUND_ASSIGNMENT_OPERATOR: "assignment",
                Kind.UNARY_OPERATOR: "step", Kind.CXX_DELETE_EXPR: "call"}.get(inner.kind)

    def statements(self, children):
        before = None
        for child in children:
            end = self.ends_statement(child)
            what = self.droppable(child) if end else None
            start = child.extent.start.offset
            if what is None or not self.once("statement", start, end):
                before = None
                continue
            point = self.point(start, "drop", f"{what} {self.text(start, end)}")
            this = {"start": start, "end": end, "keep": [point], "edits": [],
                    "calls": what == "call" and self.has_call(child)}
            if before is not None and before["calls"] and this["calls"] and \
                    "//" not in self.text(before["start"], before["end"]):
                swap = self.point(start, "order", f"{self.text(start, end)} first")
                before["keep"].append(swap)
                self.swaps.append((swap, before, this))
            self.around(this)
            before = this

    def around(self, statement):
        start, end = statement["start"], statement["end"]
        line = self.line_of(start)
        for at, closes in ((start, False), (end, True)):
            edit = Edit(at, at, None, line, (start, end), closes, statement["keep"])
            self.edits.append(edit)
            statement["edits"].append(edit)

    # --- expressions ------------------------------------------------------------------------------

    def condition(self, cursor, children):
        if not children:
            return
        if cursor.kind == Kind.IF_STMT and children[0].kind in (Kind.VAR_DECL, Kind.DECL_STMT):
            start = children[0].extent.start.offset
            declared = children[0] if children[0].kind == Kind.VAR_DECL else None
            if declared is None:
                below = [c for c in children[0].get_children() if c.kind == Kind.VAR_DECL]
                declared = below[0] if len(below) == 1 else None
            if declared is None:
                self.left_out += 1
                return
            end = declared.extent.end.offset
            if self.raw[end:end + 1] == b")" and self.once("condition", start, end):
                point = self.point(start, "condition", "negated")
                self.add(end, end, f"; mutant::negated({point}, {declared.spelling})",
                         (start, end), True, [point])
            elif len(children) > 1 and self.raw[end:end + 1] == b";":
                self.negate(children[1])
            return
        if cursor.kind == Kind.IF_STMT:
            self.negate(children[0])
        elif cursor.kind == Kind.WHILE_STMT:
            if children[0].kind.is_expression():
                self.negate(children[0])
            else:
                self.left_out += 1
        elif cursor.kind == Kind.DO_STMT:
            self.negate(children[-1])
        elif cursor.kind == Kind.FOR_STMT:
            for child in children[:-1]:
                if child.kind.is_expression() and not self.is_step(child):
                    self.negate(child)
                    break

    def is_step(self, cursor):
        return self.raw[cursor.extent.end.offset:cursor.extent.end.offset + 1] == b")"

    def operator_text(self, cursor, children):
        """The operands of a binary operation and the text between them."""
        operands = list(children)
        if cursor.kind == Kind.CALL_EXPR:
            if not cursor.spelling.startswith("operator"):
                return None
            operands = list(cursor.get_arguments())
        if len(operands) != 2 or any(o is None for o in operands):
            return None
        left, right = operands
        between = (left.extent.end.offset, right.extent.start.offset)
        if left.extent.start.offset != cursor.extent.start.offset or between[0] > between[1] or \
                right.extent.end.offset != cursor.extent.end.offset:
            return None
        return left, right, between, self.text(*between).strip()

    def bare(self, cursor):
        while cursor.kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR):
            below = list(cursor.get_children())
            if len(below) != 1:
                break
            cursor = below[0]
        return cursor

    def negate(self, cursor):
        bare = self.bare(cursor)
        parts = self.operator_text(bare, list(bare.get_children())) if bare.kind in (
            Kind.BINARY_OPERATOR, Kind.CALL_EXPR) else None
        if parts is not None and (parts[3] in COMPARISONS or parts[3] in ("&&", "||")):
            return
        if bare.kind == Kind.CXX_BOOL_LITERAL_EXPR:
            return
        start, end = self.extent(cursor)
        if self.once("condition", start, end):
            point = self.point(start, "condition", f"negated {self.text(start, end)}")
            self.wrap(start, end, f"mutant::negated({point}, ", ")", [point])

    def operator(self, cursor, children):
        parts = self.operator_text(cursor, children)
        if parts is None:
            return
        left, right, between, sign = parts
        start, end = self.extent(cursor)
        if sign in COMPARISONS:
            if not self.once("compare", start, end):
                return
            name, first, second = COMPARISONS[sign]
            one = self.point(between[0], "compare", f"{first} for {sign}")
            other = self.point(between[0], "compare", f"{second} for {sign}") if second else 0
            points = [one] + ([other] if other else [])
            self.wrap(start, end, f"mutant::{name}({one}, {other}, ", ")", points)
            self.replace_sign(between, sign, ",", (start, end), points)
        elif sign in ("&&", "||"):
            if not self.once("logic", start, end):
                return
            constant = "true" if sign == "&&" else "false"
            for side in (left, right):
                s, e = self.extent(side)
                point = self.point(s, "condition", f"{constant} for {self.text(s, e)}")
                word = f"mutant::on({point}) ||" if sign == "&&" else f"mutant::keeps({point}) &&"
                self.wrap(s, e, f"({word} (", "))", [point])
        elif sign in ("+", "-") and cursor.kind == Kind.BINARY_OPERATOR and \
                all(s.type.get_canonical().kind in INTEGERS for s in (left, right)):
            if not self.once("arithmetic", start, end):
                return
            name = "plus" if sign == "+" else "minus"
            point = self.point(between[0], "arithmetic", f"{'-' if sign == '+' else '+'} for {sign}")
            self.wrap(start, end, f"mutant::{name}({point}, ", ")", [point])
            self.replace_sign(between, sign, ",", (start, end), [point])

    def replace_sign(self, between, sign, text, span, points):
        at = self.raw.index(sign.encode(), *between)
        self.add(at, at + len(sign), text, span, False, points)

    def cases(self, cursor, children):
        value, body = children[0], children[-1]
        labels = []
        for child in body.get_children():
            while child.kind == Kind.CASE_STMT:
                below = list(child.get_children())
                labels.append(below[0])
                child = below[-1]
        start, end = self.extent(value)
        if not labels or not self.once("cases", start, end):
            return
        for label in labels:
            shape = self.text(*self.extent(label))
            point = self.point(label.extent.start.offset, "case", f"never {shape}")
            self.wrap(start, end, f"mutant::away({point}, ", f", {shape})", [point])

    def returned(self, children):
        if not children:
            return
        bare = self.bare(children[0])
        canonical = children[0].type.get_canonical().kind
        known = INTEGERS | {ci.TypeKind.BOOL, ci.TypeKind.ENUM, ci.TypeKind.POINTER}
        if bare.kind not in (Kind.CALL_EXPR, Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR) or \
                canonical not in known:
            return
        parts = self.operator_text(bare, list(bare.get_children())) \
            if bare.kind == Kind.CALL_EXPR else None
        if parts is not None or self.is_constant(bare):
            return
        start, end = self.extent(children[0])
        if self.once("returned", start, end):
            point = self.point(start, "return", f"another for {self.text(start, end)}")
            self.wrap(start, end, f"mutant::returned({point}, ", ")", [point])

    # --- constants --------------------------------------------------------------------------------

    def literal(self, cursor):
        start, end = self.extent(cursor)
        source = self.text(start, end)
        if self.raw[:start].rstrip()[-1:] == b"[" and source.isdigit() is False:
            return
        if not self.once("literal", start, end):
            return
        if cursor.kind == Kind.STRING_LITERAL:
            if source.endswith('"'):
                point = self.point(start, "text", f"another end for {source}")
                self.wrap(start, end, f"mutant::text({point}, ", ")", [point])
        elif cursor.kind == Kind.CXX_BOOL_LITERAL_EXPR:
            point = self.point(start, "constant", f"not {source}")
            self.wrap(start, end, f"mutant::flag({point}, ", ")", [point])
        elif cursor.kind == Kind.CHARACTER_LITERAL:
            point = self.point(start, "constant", f"{source} + 1")
            self.wrap(start, end, f"mutant::number({point}, ", ", 1)", [point])
        else:
            self.number(start, end, source)

    def number(self, start, end, source, constant=None):
        steps = self.steps(source, constant)
        points = []
        for step in steps:
            points.append(self.shared(start, "constant", f"{source} {'+' if step > 0 else '-'} 1",
                                      constant, step))
        before = "".join(f"mutant::number({point}, " for point in points)
        after = "".join(f", {step})" for step in reversed(steps))
        self.wrap(start, end, before, after, points)

    def steps(self, source, constant):
        """Which neighbours of a number are tried: for the platform's names one is enough."""
        if source in ("0", "FALSE"):
            return (1,)
        if source == "TRUE":
            return (-1,)
        return (-1, 1) if constant is not None or source[0].isdigit() else (1,)

    def shared(self, start, operator, detail, constant, step=0):
        """A constant of the product's that is used in many places is one point, where it stands."""
        if constant is None:
            return self.point(start, operator, detail)
        known = self.numbers.constants
        key = (constant.get_usr(), step)
        if key not in known:
            path, line = constant.location.file.name, constant.location.line
            source = bytes_of(path).decode().split("\n")[line - 1].strip()
            known[key] = self.numbers.new(self.relative(path), line, operator, detail, source)
        return known[key]

    def is_constant(self, cursor):
        meant = cursor.referenced
        if meant is None:
            return False
        if meant.kind == Kind.ENUM_CONSTANT_DECL:
            return True
        if meant.kind != Kind.VAR_DECL or meant.location.file is None:
            return False
        start, name = meant.extent.start.offset, meant.location.offset
        return b"constexpr" in bytes_of(meant.location.file.name)[start:name]

    def constant_use(self, cursor, parent):
        if not self.is_constant(cursor):
            return
        start, end = self.extent(cursor)
        source = self.text(start, end)
        if not re.fullmatch(r"[\w:]+", source) or self.raw[:start].rstrip()[-1:] in (b"&", b"["):
            if not self.raw[:start].rstrip().endswith(b"&&"):
                return
        if not self.once("literal", start, end):
            return
        meant = cursor.referenced
        if meant.kind == Kind.ENUM_CONSTANT_DECL:
            point = self.point(start, "constant", f"another for {source}")
            self.wrap(start, end, f"mutant::enumerator({point}, ", ")", [point])
            return
        where = meant.location.file
        constant = None
        if where is not None and self.relative(where.name) is not None:
            constant = meant
            source = meant.spelling
        shape = meant.type.get_canonical()
        if shape.kind in INTEGERS:
            self.number(start, end, source, constant)
        elif shape.kind == ci.TypeKind.BOOL:
            point = self.shared(start, "constant", f"not {source}", constant)
            self.wrap(start, end, f"mutant::flag({point}, ", ")", [point])
        elif self.is_text(shape):
            point = self.shared(start, "text", f"another end for {source}", constant)
            self.wrap(start, end, f"mutant::text({point}, ", ")", [point])

    def is_text(self, shape):
        characters = (ci.TypeKind.CHAR_S, ci.TypeKind.WCHAR)
        if shape.kind == ci.TypeKind.CONSTANTARRAY:
            return shape.get_array_element_type().get_canonical().kind in characters
        return shape.kind == ci.TypeKind.POINTER and shape.get_pointee().kind in characters
