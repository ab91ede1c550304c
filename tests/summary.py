# SPDX-License-Identifier: MIT
"""Adds up JUnit reports and prints "N passed, N failed" (", N skipped"). Fails if a test failed or none ran."""

import pathlib
import sys
import xml.etree.ElementTree as ElementTree


def count(report: pathlib.Path) -> tuple[int, int, int]:
    passed = failed = skipped = 0
    for case in ElementTree.parse(report).iter("testcase"):
        if case.find("failure") is not None or case.find("error") is not None or case.get("status") == "fail":
            failed += 1
            print(f"failed: {report.stem}: {case.get('classname')} {case.get('name')}")
        elif case.find("skipped") is not None:
            skipped += 1
        else:
            passed += 1
    return passed, failed, skipped


def main() -> int:
    counts = [count(report) for report in sorted(pathlib.Path(sys.argv[1]).glob("*.xml"))]
    passed, failed, skipped = (sum(column) for column in zip(*counts)) if counts else (0, 0, 0)
    print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""))
    return 1 if failed or not passed else 0


sys.exit(main())
