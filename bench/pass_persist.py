#!/usr/bin/env python3
"""What a script behind snmpd's pass_persist directive costs: the rows and columns of the floor, from memory.

usage: pass_persist.py ROOT ROWS
"""

import bisect
import sys

COLUMNS = {7: 4, 8: 11, 9: 10}  # by table, from column 5 on, as the floor has them


def main():
    root, rows = sys.argv[1].strip("."), int(sys.argv[2])
    base = tuple(map(int, root.split(".")))
    names = [base + (table, 1, column, 0, 2, 1, row)
             for table, count in COLUMNS.items() for column in range(5, 5 + count) for row in range(1, rows + 1)]
    texts = ["." + ".".join(map(str, name)) for name in names]
    place = {text: at for at, text in enumerate(texts)}
    while command := sys.stdin.readline().strip():
        if command == "PING":
            answer = "PONG\n"
        else:
            text = sys.stdin.readline().strip()
            at = place.get(text, -1)
            if command == "getnext":
                at = at + 1 if at >= 0 else bisect.bisect_right(names, tuple(map(int, text.strip(".").split("."))))
            answer = f"{texts[at]}\ninteger\n{at}\n" if 0 <= at < len(texts) else "NONE\n"
        sys.stdout.write(answer)
        sys.stdout.flush()


if __name__ == "__main__":
    main()
