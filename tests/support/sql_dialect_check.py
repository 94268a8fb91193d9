#!/usr/bin/env python3
"""Parses SQL statements with sqlglot, each in its own dialect, and prints the rejected ones.

Input on stdin: a JSON array of {"dialect": "tsql" | "oracle", "sql": TEXT}.
Output on stdout: one JSON object per rejected statement, {"dialect", "sql", "reason"}.
A statement is rejected when the parser raises, when it is not exactly one statement, or when
the parser only passes it through as an opaque command (then nothing was checked), unless
ALLOWED names it with the reason the parser is wrong.
Exit status: 0 when the check ran (whatever it found); 3 when sqlglot is missing, so that a
machine without it fails the tests instead of skipping the check.
"""
import json
import re
import sys

try:
    import sqlglot
    from sqlglot import exp
except ImportError as error:
    print("sql_dialect_check: sqlglot is not installed (Debian: python3-sqlglot, "
          "scripts/deps installs it): %s" % error, file=sys.stderr)
    sys.exit(3)

# (dialect or None for both, full-match pattern, why the parser is wrong)
ALLOWED = [
    ("tsql", r"select next value for \w+ PROXIMO_NUMERO",
     "NEXT VALUE FOR <sequence> (SQL Server 2012 and later) is missing from the parser's T-SQL "
     "grammar"),
    (None, r"create sequence \w+ minvalue 1 maxvalue 999999999 start with \d+ increment by 1 "
           r"cache 20",
     "the parser has no CREATE SEQUENCE grammar and passes it through unchecked; the options "
     "used are valid in both Oracle and SQL Server 2012 and later"),
]


def allowed(dialect, sql):
    return any((d is None or d == dialect) and re.fullmatch(pattern, sql, re.DOTALL)
               for d, pattern, _ in ALLOWED)


def reason(dialect, sql):
    try:
        trees = [tree for tree in sqlglot.parse(sql, read=dialect) if tree is not None]
    except Exception as error:  # the parser's errors have no common base in every version
        return str(error).splitlines()[0] if str(error) else type(error).__name__
    if len(trees) != 1:
        return "%d statements" % len(trees)
    if isinstance(trees[0], exp.Command):
        return "passed through as an unparsed command"
    return None


def main():
    for item in json.load(sys.stdin):
        dialect, sql = item["dialect"], item["sql"]
        why = reason(dialect, sql)
        if why and not allowed(dialect, sql):
            print(json.dumps({"dialect": dialect, "sql": sql, "reason": why}))
    return 0


if __name__ == "__main__":
    sys.exit(main())
