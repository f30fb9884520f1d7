#!/usr/bin/python3
"""Draws the memory log of a host as a picture or a page, or shows its last minutes live."""

import argparse
import calendar
import collections
import functools
import html
import math
import os
import re
import secrets
import shutil
import stat
import subprocess
import sys
import time

VERSION = "@PROJECT_VERSION@"
MOST_POINTS = 1000  # of a curve; a picture has no room for more
SVG = "svg size 1000,600 font 'sans-serif,13' background '#ffffff'"
PNG = "pngcairo size 1000,600 font 'sans-serif,11'"

@MEMLOG_READER@

# Pictures.


def thinned(points):
    """Returns at most MOST_POINTS points that keep the lowest and the highest of their neighbours."""
    group = -(-len(points) // (MOST_POINTS // 2))
    if group < 3:
        return points
    kept = []
    for start in range(0, len(points), group):
        part = points[start:start + group]
        ends = {min(part, key=lambda point: point[1]), max(part, key=lambda point: point[1])}
        kept += sorted(ends)
    return kept


def step(least):
    """Returns the next number of the form 1, 2 or 5 times a power of ten."""
    power = 10.0 ** math.floor(math.log10(least))
    return next(factor * power for factor in (1, 2, 5, 10) if factor * power >= least * 0.999)


def curves(run):
    """Returns the data blocks of gnuplot."""
    lines = []
    for name in Row._fields[1:]:
        unit = 2**20 if name in BYTES else 1
        points = thinned([(row.time, getattr(row, name) / unit) for row in run.rows])
        lines += [f"${name} << END", *(f"{x:.3f} {y:.6g}" for x, y in points), "END"]
    return lines


def plots(run, is_text):
    """Returns the top of the vertical axis, and the curves that gnuplot draws."""
    lowest = top = max(run.peak("use"), run.peak("resident"), 1)
    colours = ("blue", "green", "yellow", "red") if is_text else \
              ("#9ecae1", "#2c7c3f", "#e6860b", "#c0392b")
    use, resident, *limits = (f"lw 2 lc rgb '{colour}' title" for colour in colours)
    drawn = [f"$use with {'lines' if is_text else 'filledcurves y1=0'} {use} 'tracked use'",
             f"$resident with lines {resident} 'resident'"]
    for name, style in zip(("prepurge", "maximum"), limits):
        limit = run.peak(name)
        if limit <= 3 * lowest:
            top = max(top, limit)
            drawn.append(f"${name} with lines dt 2 {style} '{name} limit'")
        else:
            drawn.append(f"keyentry with lines dt 2 {style} '{name} limit, above: {mib(limit)}'")
    return top * 1.08 / 2**20, drawn


def picture(run, terminal, is_text=False):
    """Returns the picture that a terminal of gnuplot makes."""
    first, last = run.rows[0].time, run.rows[-1].time
    top, drawn = plots(run, is_text)
    form = "%H:%M:%.3S" if last - first < 5 else "%H:%M:%S"
    form = form if last - first < 86400 else "%Y-%m-%d\\n%H:%M"
    if last == first:
        first, last = first - 0.5, last + 0.5
        run = Run(run.process, run.columns,
                  [run.rows[0]._replace(time=when) for when in (first, last)])
    script = [f"set terminal {terminal}", *curves(run),
              f"set xrange [{first:.3f}:{last:.3f}]", f"set xtics time format \"{form}\"",
              "set mxtics 2", "set ylabel 'MiB'", f"set yrange [0:{top:.6g}]"]
    if is_text:
        script += ["set key above", f"set xtics {(last - first) / 4:.3f}",
                   f"plot {', '.join(drawn)}"]
    else:
        title = f"Memory of process {run.process}, {time_text(first)} to {time_text(last)}"
        pool = max(run.peak("use") / 20, run.peak("pool"), 1) * 1.08 / 2**20
        purges = max(run.peak("purges"), 4) * 1.08
        shown = 0.2 if run.counts_purges() else 0  # of the height, for the purges
        script += ["set grid lc rgb '#dddddd'", "set border 3", "set tics nomirror out",
                   "set lmargin 11", "set rmargin 4", "set key outside top center horizontal",
                   f"set multiplot title '{title}'",
                   f"set size 1,{0.66 - shown}", f"set origin 0,{0.3 + shown}", "set format x ''",
                   f"plot {', '.join(drawn)}",
                   f"set size 1,{0.3 if shown else 0.34}", f"set origin 0,{shown}",
                   *([] if shown else [f"set xtics time format \"{form}\""]),
                   f"set yrange [0:{pool:.6g}]", f"set ytics {step(pool / 4):.6g}",
                   "plot $pool with filledcurves y1=0 lc rgb '#b9a3d0'"
                   " title 'recycled pool and external managers'"]
        if shown:
            script += [f"set size 1,{shown + 0.04}", "set origin 0,0",
                       f"set xtics time format \"{form}\"", "set ylabel 'calls'",
                       f"set yrange [0:{purges:.6g}]", f"set ytics {step(purges / 4):.6g}",
                       "plot $purges with impulses lw 2 lc rgb '#8c510a'"
                       " title 'calls of the purge callback since the row before'"]
        script.append("unset multiplot")
    return gnuplot("\n".join(script) + "\n")


def gnuplot(script):
    try:
        done = subprocess.run(["gnuplot", "-d", "-"], input=script.encode(), check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    except OSError as error:
        raise Failure(f"gnuplot can't be started: {error.strerror} (install gnuplot-nox)") from error
    if done.returncode or not done.stdout:
        raise Failure("gnuplot failed: " + printable(done.stderr.decode(errors="replace").strip()))
    return done.stdout


PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title}</title>
<style>
body {{ font-family: sans-serif; max-width: 70rem; margin: auto; padding: 1rem; }}
svg {{ width: 100%; height: auto; }}
th {{ text-align: left; font-weight: normal; padding-right: 2rem; }}
td {{ text-align: right; }}
</style>
</head>
<body>
<h1>{title}</h1>
{svg}
<table>{rows}</table>
<ul>{notes}</ul>
</body>
</html>
"""


def page(name, log, run):
    """Returns the page with the picture and the figures of a run."""
    svg = picture(run, SVG + " dynamic").decode()
    above = sum(row.use > row.prepurge for row in run.rows)
    figures = [("log", name), ("first row", time_text(run.rows[0].time)),
               ("last row", time_text(run.rows[-1].time)), ("rows", f"{len(run.rows):,}"),
               ("peak of the tracked use", mib(run.peak("use"))),
               ("peak resident", mib(run.peak("resident"))),
               ("rows above the prepurge limit", f"{above:,}"),
               ("prepurge limit at the end", mib(run.rows[-1].prepurge)),
               ("maximum limit at the end", mib(run.rows[-1].maximum))]
    notes = ["Each row shows one moment: a peak between two rows is missing."]
    if run.counts_purges():
        purges = sum(row.purges for row in run.rows)
        figures.append(("calls of the purge callback", f"{purges:,}"))
    else:
        notes.append("The log has no count of purges, which the debug setting MemoryYoYoLogPurges"
                     " adds. While the host purges, the tracked use stays just below the prepurge"
                     " limit.")
    notes += notes_of(log)
    rows = "\n".join(f"<tr><th>{html.escape(head)}</th><td>{html.escape(text)}</td></tr>"
                     for head, text in figures)
    return PAGE.format(title=f"Memory of process {run.process}", svg=svg[svg.index("<svg"):],
                       rows=rows,
                       notes="\n".join(f"<li>{html.escape(note)}</li>" for note in notes)).encode()


def notes_of(log):
    more = log.faults - len(log.notes)
    return log.notes + ([f"{more:,} more lines of that kind"] if more else [])


def write(path, data):
    """Writes a file whole or not at all."""
    path = os.path.realpath(path)
    if os.path.exists(path) and not stat.S_ISREG(os.stat(path).st_mode):
        with open(path, "wb", buffering=0) as file:  # a device or a pipe
            file.write(data)
        return
    new = os.path.join(os.path.dirname(path), f".memlog.{secrets.token_hex(6)}")
    try:
        descriptor = os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o666)
        with open(descriptor, "wb") as file:
            file.write(data)
        os.replace(new, path)
    except BaseException:
        if os.path.exists(new):
            os.unlink(new)
        raise


# The terminal.


def is_running(process):
    try:
        with open(f"/proc/{process}/stat", "rb") as file:
            # The state follows the name in parentheses. Z: ended, but its parent has not waited.
            return file.read().rpartition(b")")[2].split()[0] not in (b"Z", b"X")
    except OSError:
        pass  # the process has ended, or the system has no such file
    try:
        os.kill(process, 0)
    except (ProcessLookupError, OverflowError):
        return False
    except PermissionError:
        pass
    return True


def screen(run):
    """Returns the lines for the terminal."""
    width, height = shutil.get_terminal_size()
    row = run.rows[-1]
    head = f"{time_text(row.time)}  use {mib(row.use)}  pool {mib(row.pool)}  " \
           f"resident {mib(row.resident)}"
    if run.counts_purges():
        head += f"  purges {row.purges:,}"
    head += f"  process {run.process}"
    drawn = picture(run, f"dumb size {max(width, 40)},{max(height - 2, 10)} ansi", is_text=True)
    lines = [head[:width]] + drawn.decode(errors="replace").strip("\n\f").split("\n")
    return "".join(line + "\x1b[K\n" for line in lines) + "\x1b[J"


def follow(path, minutes):
    """Shows the last minutes of the log until its process ends."""
    log = Log(keep=60 * minutes)
    print("\x1b[2J", end="")
    with open(path, "rb") as file:
        while True:
            ended = bool(log.runs) and not is_running(log.runs[-1].process)
            if os.fstat(file.fileno()).st_size < file.tell():
                raise Failure("the log has become shorter")
            while data := file.read(1 << 20):
                log.feed(data)
            run = log.runs[-1] if log.runs else None
            shown = screen(run) if run and run.rows else "no row yet\x1b[K\n\x1b[J"
            print("\x1b[H" + shown, end="", flush=True)
            if ended:
                return print(f"process {run.process} has ended")
            time.sleep(1)


# The command line.


def table(log):
    """Returns the runs of a log as lines of text."""
    lines = [f"{'run':>4} {'process':>10} {'first row':>19} {'rows':>9} {'seconds':>10}"
             f" {'peak use':>14} {'peak resident':>14}"]
    for number, run in enumerate(log.runs, 1):
        line = f"{number:>4} {run.process:>10} "
        if run.rows:
            span = run.rows[-1].time - run.rows[0].time
            line += f"{time_text(run.rows[0].time):>19} {len(run.rows):>9,} {span:>10,.1f}" \
                    f" {mib(run.peak('use')):>14} {mib(run.peak('resident')):>14}"
        else:
            line += "no rows"
        lines.append(line)
    return "\n".join(lines)


def chosen(log, number):
    """Returns the run with a number, or the last run that has rows."""
    if number and number > len(log.runs):
        raise Failure(f"there is no run {number}; the log has {len(log.runs)}")
    found = log.runs[number - 1:number] if number else log.runs[::-1]
    run = next((run for run in found if run.rows), None)
    if not run:
        raise Failure("there are no rows yet" if number is None else f"run {number} has no rows")
    return run


def log_of_process(process):
    """Returns the log that a process has open, or the default path of its log."""
    name = f"bc_memory.{process}.log"
    folder = f"/proc/{process}/fd"
    try:
        for entry in os.listdir(folder):
            target = os.readlink(os.path.join(folder, entry))
            if os.path.basename(target) == name:
                return target
    except OSError:
        pass  # the process has ended, or belongs to another user
    return "/" + name


def number_option(text):
    if not re.fullmatch("[0-9]{1,9}", text) or int(text) == 0:
        raise argparse.ArgumentTypeError(f"'{text}' isn't a number from 1 to 999999999")
    return int(text)


class Parser(argparse.ArgumentParser):
    def error(self, message):
        self.exit(2, f"memlog: {printable(message)} (see memlog --help)\n")


def parse(arguments):
    parser = Parser(
        prog="memlog", allow_abbrev=False,
        description="Draws the memory log of a host. Without -o or --follow, lists the runs in it.")
    parser.add_argument("log", metavar="LOG", nargs="?", help="the log, or - for standard input")
    parser.add_argument("-p", "--process", metavar="PID", type=number_option,
                        help="the log of this process instead of LOG")
    parser.add_argument("-o", "--output", metavar="FILE",
                        help="the picture, a .png or .svg, or the page, an .html")
    parser.add_argument("--run", metavar="N", type=number_option,
                        help="draw this run (the last one with rows)")
    parser.add_argument("--follow", action="store_true",
                        help="show the last minutes on the terminal until the process ends")
    parser.add_argument("--minutes", metavar="N", type=number_option, default=5,
                        help="the minutes that --follow shows (5)")
    parser.add_argument("--version", action="version", version=f"memlog {VERSION}")
    options = parser.parse_args(arguments)
    if (options.log is None) == (options.process is None):
        parser.error("give LOG or --process")
    if options.output is not None and not options.output.endswith((".png", ".svg", ".html")):
        parser.error(f"the output '{options.output}' ends in none of .png, .svg, .html")
    if options.follow and (options.output is not None or options.run or options.log == "-"):
        parser.error("--follow can't be given with -o, --run or standard input")
    if options.follow and not sys.stdout.isatty():
        parser.error("--follow needs a terminal")
    return options


def read(path):
    log = Log()
    with open(0 if path == "-" else path, "rb") as file:
        while data := file.read(1 << 20):
            log.feed(data)
    log.end()
    return log


def run_command(options, name):
    if options.follow:
        return follow(name, options.minutes)
    log = read(name)
    for note in notes_of(log):
        print(f"memlog: {printable(name)}: {note}", file=sys.stderr)
    if options.output is None:
        return print(table(log), flush=True)
    run = chosen(log, options.run)
    if options.output.endswith(".html"):
        data = page(name, log, run)
    else:
        data = picture(run, SVG if options.output.endswith(".svg") else PNG)
    try:
        return write(options.output, data)
    except OSError as error:
        raise Failure(f"{printable(options.output)} can't be written: {error.strerror}") from error


def main(arguments):
    options = parse(arguments)
    name = log_of_process(options.process) if options.log is None else options.log
    try:
        run_command(options, name)
    except KeyboardInterrupt:
        return 0 if options.follow else 130
    except (Failure, OSError) as failure:
        reason = failure.strerror if isinstance(failure, OSError) else failure
        print(f"memlog: {printable(name)}: {reason}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
