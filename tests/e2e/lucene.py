# SPDX-License-Identifier: MIT
"""The part of the Lucene query syntax that the responder uses: `field:"phrase"`, `field:word~` and `field:(word~ AND word)`, joined
by AND. A backslash escapes a character."""

import re

from catalogue import words

_PHRASE = r'"((?:[^"\\]|\\.)*)"'
_WORD = r'((?:[^\s"()~:\\+\-!{}\[\]^*?/&|]|\\.)+)(~?)'
_CLAUSE = re.compile(rf"([a-z]+):(?:{_PHRASE}|\(((?:[^()\\]|\\.)*)\)|{_WORD})")
_WORD_ONLY = re.compile(_WORD)
_OPERATORS = ("AND", "OR", "NOT")
_MOST_EDITS = 2


class SyntaxFailure(ValueError):
    pass


def _unescaped(text):
    return re.sub(r"\\(.)", r"\1", text)


def _is_near(one, other):
    """True if at most two edits turn one word into the other. An edit replaces, inserts, removes or swaps letters."""
    if abs(len(one) - len(other)) > _MOST_EDITS:
        return False
    before, above = [], list(range(len(other) + 1))
    for i, a in enumerate(one, 1):
        row = [i]
        for j, b in enumerate(other, 1):
            row.append(min(above[j] + 1, row[j - 1] + 1, above[j - 1] + (a != b)))
            if i > 1 and j > 1 and a == other[j - 2] and one[i - 2] == b:
                row[j] = min(row[j], before[j - 2] + 1)
        before, above = above, row
    return above[-1] <= _MOST_EDITS


def _phrase(text):
    wanted = words(_unescaped(text))

    def score(field):
        places = range(len(field) - len(wanted) + 1) if wanted else ()
        return len(wanted) / len(field) if any(field[i:i + len(wanted)] == wanted for i in places) else 0

    return score


def _word(text, fuzzy):
    if text in _OPERATORS:
        raise SyntaxFailure(f"{text} is an operator")
    exact = _phrase(text)
    wanted = words(_unescaped(text))

    def score(field):
        if not fuzzy or len(wanted) != 1:
            return exact(field)
        return 0.8 / len(field) if any(_is_near(wanted[0], word) for word in field) else 0

    return score


def _words(text):
    parts = re.split(r"\s+AND\s+", text.strip())
    matches = [_WORD_ONLY.fullmatch(part) for part in parts]
    if not all(matches):
        raise SyntaxFailure(f"({text}) is more than words joined by AND")
    scores = [_word(*match.groups()) for match in matches]

    def score(field):
        each = [one(field) for one in scores]
        return sum(each) if all(each) else 0

    return score


def parse(query):
    """Returns a function that scores a dictionary from field names to lists of texts. The score is 0 if the query does not match."""
    clauses, position = [], 0
    while True:
        match = _CLAUSE.match(query, position)
        if not match:
            raise SyntaxFailure(f"no clause at {query[position:]!r}")
        field, phrase, group, word, fuzzy = match.groups()
        clauses.append((field, _phrase(phrase) if phrase is not None else _words(group) if group is not None else _word(word, fuzzy)))
        position = match.end()
        if position == len(query):
            break
        if not query.startswith(" AND ", position):
            raise SyntaxFailure(f"no AND at {query[position:]!r}")
        position += len(" AND ")

    def score(document):
        each = []
        for field, scoring in clauses:
            if field not in document:
                raise SyntaxFailure(f"no field {field}")
            each.append(max((scoring(words(text)) for text in document[field] if text), default=0))
        return sum(each) / len(each) if all(each) else 0

    return score
