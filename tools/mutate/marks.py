"""What a mutation point is, and what it does to the source."""

import functools
import re
from dataclasses import dataclass, field


@dataclass
class Point:
    number: int
    file: str
    line: int
    operator: str
    detail: str
    source: str  # the line that it stands in, without the space around it
    turn: int = 0  # among those of the same file, operator, detail and line's text

    def key(self):
        turn = f" #{self.turn}" if self.turn else ""
        return f"{self.file} | {self.operator}: {self.detail}{turn} | {self.source}"


@dataclass
class Edit:
    """Replaces [start, end) of the source. Those that surround others open and close in order."""

    start: int
    end: int
    text: str  # None: the braces around a statement, which `rewritten` makes
    line: int  # an error in this line may be this edit's
    span: tuple  # the whole extent that the edit belongs to
    closes: bool = False
    points: list = field(default_factory=list)


# As many as Mutant.h has room for; 0 is none.
MOST_POINTS = (1 << 16) - 1


class Numbers:
    """Gives each point its number. `given` are those of earlier builds: a point keeps its number, so
    that the copy of a source changes only when the source does."""

    def __init__(self, given=None):
        self.points = []
        self.seen = {}
        self.constants = {}
        self.given = dict(given or {})
        self.last = max(self.given.values(), default=0)

    def new(self, file, line, operator, detail, source):
        point = Point(0, file, line, operator, detail, source)
        before = self.seen.get(point.key(), 0)
        self.seen[point.key()] = before + 1
        point.turn = before
        point.number = self.number_of(point.key())
        self.points.append(point)
        return point.number

    def number_of(self, key):
        if key not in self.given:
            self.last += 1
            if self.last > MOST_POINTS:
                raise SystemExit("mutate: more changes than there are numbers; remove build/mutate")
            self.given[key] = self.last
        return self.given[key]


@functools.lru_cache(maxsize=None)
def bytes_of(path):
    with open(path, "rb") as file:
        return file.read()


def shown(text):
    return re.sub(r"\s+", " ", text)[:60]
