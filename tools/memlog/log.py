# Reads a memory log. CMake puts these lines into the program.

COLUMNS = (b"virtual delta_virtual calc_mem diff_mem calc_u diff_u slop deltaslop calc diff_calc"
           b" resident diff_res pageins faults diff_faults limit_prepurge limit_max glob_free"
           b" glob_active glob_inactive glob_wired glob_faults glob_pageins glob_pageouts").split()
PURGES = b"purges"  # the last column of a log whose host asks for it
SIGNED = {b"slop", b"deltaslop"} | {name for name in COLUMNS if re.match(b"diff|delta", name)}
SHOWN = [COLUMNS.index(name) for name in (b"calc_mem", b"calc_u", b"resident", b"limit_prepurge",
                                          b"limit_max")]
STAMP = re.compile(rb"\[([0-9]{1,10}):[0-9a-f]{1,16}\] "
                   rb"([0-9]{2}/[0-9]{2}/[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2})\.([0-9]{3}) (.*)",
                   re.DOTALL)
# A row whose figures have 64 bits without a closer look.
ORDINARY = re.compile(b"".join(rb"\t(-?[0-9]{1,18})" if name in SIGNED else rb"\t([0-9]{1,19})"
                               for name in COLUMNS) + rb"(\t[0-9]{1,19})?")
LONGEST_LINE = 4096
MOST_NOTES = 10

# Bytes, but for the time: seconds in local time. The pool includes the external managers. The
# purges are the calls of the host's purge callback since the row before.
Row = collections.namedtuple("Row", "time use pool resident prepurge maximum purges")
BYTES = Row._fields[1:6]


class Failure(Exception):
    """A message for the user."""


class Log:
    """The rows of a log, by runs. A run is what one process has written from a start line on."""

    def __init__(self, keep=None):
        self.runs = []
        self.notes = []  # the first faults that do not make the log useless
        self.faults = 0
        self._keep = keep  # seconds before the last row; None: all
        self._current = {}  # the run of each process
        self._rest = b""
        self._line = 0

    def feed(self, data):
        """Reads the next bytes of the log."""
        *lines, self._rest = (self._rest + data).split(b"\n")
        for line in lines:
            self._take(line)
        self._rest = self._rest[:2 * LONGEST_LINE]

    def end(self):
        """Follows the last bytes."""
        if self._line == 0 and not self._rest:
            raise Failure("the log is empty")
        if self._line == 0:
            raise Failure("line 1: there is no start line: the file is no memory log")
        if self._rest:
            self._line += 1
            self._note("the line is incomplete and left out: the process may still write it")

    def _note(self, text):
        self.faults += 1
        if len(self.notes) < MOST_NOTES:
            self.notes.append(f"line {self._line}: {text}")

    def _take(self, line):
        self._line += 1
        stamp = STAMP.fullmatch(line.rstrip(b"\r")) if len(line) <= LONGEST_LINE else None
        text = stamp[4] if stamp else b""
        if self._line == 1 and text != b" * log start":
            raise Failure("line 1: there is no start line: the file is no memory log")
        if not stamp:
            fault = "there is no process and time" if len(line) <= LONGEST_LINE else \
                    f"there are more than {LONGEST_LINE} bytes"
            return self._note(fault + "; the line is left out")
        process = int(stamp[1])
        if text == b" * log start":
            self._start(process)
        elif text.startswith(b"\tvirtual"):
            columns = text.split(b"\t")[1:]
            if columns not in (COLUMNS, [*COLUMNS, PURGES]):
                raise Failure(f"line {self._line}: the columns are not those of a memory log")
            if process in self._current:
                self._current[process].columns = columns
        else:
            self._add(process, stamp)

    def _start(self, process, columns=None):
        run = Run(process, columns or COLUMNS)
        self._current[process] = run
        self.runs = [run] if self._keep else self.runs + [run]
        return run

    def _add(self, process, stamp):
        figures = stamp[4].split(b"\t")[1:]
        run = self._current.get(process)
        columns = run.columns if run else [*COLUMNS, PURGES][:max(len(figures), len(COLUMNS))]
        is_ordinary = len(figures) == len(columns) and ORDINARY.fullmatch(stamp[4])
        wrong = None if is_ordinary else wrong_figure(columns, figures)
        second = seconds_of(stamp[2])
        if wrong or second is None:
            return self._note((wrong or "there is no such time") + "; the line is left out")
        when = second + int(stamp[3]) / 1000
        if not run:
            self._note(f"process {process} has no start line before; its rows are a run")
            run = self._start(process, columns)
        elif run.rows and when < run.rows[-1].time:
            self._note("the time is earlier than in the row before; from here on, the rows are"
                       " another run")
            run = self._start(process, columns)
        use, total, *others = (int(figures[column]) for column in SHOWN)
        purges = int(figures[-1]) if run.counts_purges() else 0
        # Use may have grown between the two figures.
        run.rows.append(Row(when, use, max(0, total - use), *others, purges))
        while self._keep and run.rows[0].time < when - self._keep:
            run.rows.popleft()


class Run:
    """The rows of one process."""

    def __init__(self, process, columns, rows=()):
        self.process = process
        self.columns = columns
        self.rows = collections.deque(rows)

    def counts_purges(self):
        return self.columns[-1] == PURGES

    def peak(self, figure):
        return max(getattr(row, figure) for row in self.rows)


def wrong_figure(columns, figures):
    """Returns a message about the figures of a row, or None."""
    if len(figures) != len(columns):
        return f"the row has {len(figures)} of {len(columns)} figures"
    for name, figure in zip(columns, figures):
        least, most = (-2**63, 2**63 - 1) if name in SIGNED else (0, 2**64 - 1)
        if not re.fullmatch(rb"-?[0-9]{1,20}", figure) or not least <= int(figure) <= most:
            return f"the figure '{printable(figure.decode('latin-1'))[:40]}' of {name.decode()}" \
                   " is no number of 64 bits"
    return None


@functools.lru_cache(maxsize=8)
def seconds_of(text):
    """Returns the seconds of a time such as 12/31/2026 23:59:59; None if there is no such time."""
    month, day, year, hour, minute, second = map(int, re.findall(b"[0-9]+", text))
    if 1 <= month <= 12 and 1970 <= year and hour < 24 and minute < 60 and second < 61 and \
            1 <= day <= calendar.monthrange(year, month)[1]:
        return calendar.timegm((year, month, day, hour, minute, second))
    return None


def printable(text):
    return "".join(c if c.isprintable() else f"\\x{ord(c):02X}" for c in text)


def time_text(seconds):
    return time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(seconds))


def mib(size):
    return f"{size / 2**20:,.1f} MiB"
