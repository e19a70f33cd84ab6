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


class Numbers:
    """Gives each point of a build its number."""

    def __init__(self):
        self.points = []
        self.seen = {}
        self.constants = {}

    def new(self, file, line, operator, detail, source):
        point = Point(len(self.points) + 1, file, line, operator, detail, source)
        before = self.seen.get(point.key(), 0)
        self.seen[point.key()] = before + 1
        point.turn = before
        self.points.append(point)
        return point.number


@functools.lru_cache(maxsize=None)
def bytes_of(path):
    with open(path, "rb") as file:
        return file.read()


def shown(text):
    return re.sub(r"\s+", " ", text)[:60]
