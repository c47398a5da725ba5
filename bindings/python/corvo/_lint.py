# SPDX-License-Identifier: Apache-2.0
"""Checks of configuration documents."""

from __future__ import annotations

from typing import List, NamedTuple, Union

from . import _c
from ._handle import Handle, created
from ._values import parse
from .errors import check


class Finding(NamedTuple):
    """A part of a document that clients drop, or that is valid but probably not intended."""

    code: str  #: In kebab-case; docs/lint.md lists all.
    severity: str  #: "error" or "warning".
    pointer: str  #: A JSON pointer (RFC 6901) to the part.
    offset: int  #: Where it begins, in bytes from 0.
    line: int  #: Its line, from 1.
    column: int  #: Its column, from 1, in code points.
    message: str  #: One human-readable line.


def lint(document: Union[str, bytes]) -> List[Finding]:
    """Checks a configuration document. Accepts any text."""
    number = created(_c.lib.corvo_lint, _c.document_from(document))
    findings = Handle(number, _c.lib.corvo_findings_free)
    json = _c.Result()
    check(_c.lib.corvo_findings_json(findings, json))
    return [
        Finding(**{name: each[name] for name in Finding._fields})
        for each in parse(_c.str_from(json))
    ]
