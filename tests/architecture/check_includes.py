#!/usr/bin/env python3
"""Checks every #include of the source tree against the component graph.

The graph is cmake/components.txt: a component may include its own headers
and those of the components it reaches through the graph, and the C headers
(include/ostravine/*.h) that those components own. Tests under tests/<name>/
may include what component <name> may, plus the shared test support. The
console (session/) is a front end: it may include only the umbrella C header,
its own files and the front-end pieces named in FRONT_ENDS. A front-end piece
(terminal/, the line editor) includes nothing of the core, only its own
files. Prints every violation and exits
1 when there is one.

usage: check_includes.py ROOT
"""
import re
import sys
from pathlib import Path

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
SOURCES = ('.c', '.cpp', '.h', '.hpp')
# Front ends and front-end pieces outside the component graph, and what
# each may include besides its own files.
FRONT_ENDS = {'session': {'umbrella', 'terminal'}, 'terminal': set()}


def read_graph(root):
    uses, headers = {}, {}
    for line in (root / 'cmake' / 'components.txt').read_text().splitlines():
        m = re.match(r'^([a-z]+):([^|]*)\|(.*)$', line)
        if m:
            uses[m[1]] = m[2].split()
            for h in m[3].split():
                headers[h] = m[1]
    return uses, headers


def closure(name, uses):
    seen, todo = set(), [name]
    while todo:
        c = todo.pop()
        if c not in seen:
            seen.add(c)
            todo.extend(uses.get(c, []))
    return seen


def owner(path, uses, headers):
    """The component an included path belongs to, or None for a local file."""
    first, _, rest = path.partition('/')
    if first == 'ostravine' and rest:
        return headers.get(rest, '?' + path)
    if path == 'ostravine.h':
        return 'umbrella'
    if rest and (first in uses or first in FRONT_ENDS):
        return first
    return None


def check(root):
    uses, headers = read_graph(root)
    problems = []
    for f in sorted(root.rglob('*')):
        if f.suffix not in SOURCES or 'build' in f.relative_to(root).parts[:1]:
            continue
        parts = f.relative_to(root).parts
        if parts[0] in uses:
            allowed = closure(parts[0], uses)
        elif parts[0] == 'tests' and len(parts) > 2 and parts[1] in uses:
            allowed = closure(parts[1], uses) | {'support'}
        elif parts[0] in FRONT_ENDS:
            allowed = FRONT_ENDS[parts[0]] | {parts[0]}
        else:
            continue
        for inc in INCLUDE.findall(f.read_text(errors='replace')):
            if inc.startswith('support/') and 'support' in allowed:
                continue
            comp = owner(inc, uses, headers)
            if comp is not None and comp not in allowed:
                problems.append(f'{f.relative_to(root)}: includes "{inc}" ({comp}), '
                                f'which {parts[1] if parts[0] == "tests" else parts[0]} may not use')
    return problems


if __name__ == '__main__':
    found = check(Path(sys.argv[1]).resolve())
    for p in found:
        print(p)
    print(f'{len(found)} include(s) against the component graph')
    sys.exit(1 if found else 0)
