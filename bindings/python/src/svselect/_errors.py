"""What can go wrong."""

from __future__ import annotations

from typing import NamedTuple, Sequence


class Message(NamedTuple):
    """Something that a run has to say: ``level`` is "error", "warning" or "remark"."""

    level: str
    text: str

    def __str__(self) -> str:
        return f"{self.level}: {self.text}"


class SvselectError(Exception):
    """A run that failed; ``messages`` has all that it said, warnings and remarks included."""

    def __init__(self, messages: Sequence[Message]) -> None:
        super().__init__("\n".join(m.text for m in messages) or "no reason was given")
        self.messages: list[Message] = list(messages)

    def __reduce__(self):
        return type(self), (self.messages,)


class PlanError(SvselectError):
    """The plan can't be used, or not with this frame or these options."""


class FrameError(SvselectError):
    """The frame can't be read, has no cases, or a column that can't be used."""


class DrawError(SvselectError):
    """The draw failed."""
