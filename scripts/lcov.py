"""Reads the report that llvm-cov export -format=lcov writes."""


def line_counts(report, root):
    """Yields (file, line, count) for each line of code below the folder root.

    The file is relative to root. A line of a template or of a header may come more than once.
    """
    file = None
    for record in report.splitlines():
        kind, _, value = record.partition(":")
        if kind == "SF":
            file = value[len(f"{root}/"):] if value.startswith(f"{root}/") else None
        elif kind == "DA" and file:
            line, count = value.split(",")[:2]
            yield file, int(line), int(count)
