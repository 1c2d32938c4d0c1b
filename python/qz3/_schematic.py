"""What the package reads from a schematic's text itself.

The library gives trace handles by name but no list of names, and keeps the
run's length in the file's settings; both are read here from the file. A file
the parser cannot read (a scrambled one, say) still opens in the library: it
just lists no traces and runs for the library's default length.
"""
import math
import xml.etree.ElementTree as ElementTree

# The library's own defaults when the file says nothing.
DEFAULT_SCREEN = 10.0
DEFAULT_STEP = 0.001


class Schematic:
    def __init__(self, tran_traces=(), ac_traces=(), screen=DEFAULT_SCREEN, step=DEFAULT_STEP):
        self.tran_traces = list(tran_traces)
        self.ac_traces = list(ac_traces)
        self.screen = screen
        self.step = step


def _number(settings, key, fallback):
    text = settings.get(key, "") if settings is not None else ""
    text = text.split("(", 1)[0].strip()
    if not text:
        return fallback
    try:
        return float(text)
    except ValueError:
        return fallback


def _trace_names(doc, path):
    return [trace.get("name") for trace in doc.iterfind(path) if trace.get("name")]


def parse(content):
    """The schematic of a file's bytes; stored points behind a zero byte are skipped."""
    text = content.split(b"\0", 1)[0]
    try:
        root = ElementTree.fromstring(text)
    except ElementTree.ParseError:
        return Schematic()
    doc = root.find("Doc")
    if doc is None:
        return Schematic()
    settings = doc.find("Tran/Settings")
    screen = _number(settings, "screen", DEFAULT_SCREEN)
    return Schematic(_trace_names(doc, "Tran/Traces/Trace"), _trace_names(doc, "Freq/Traces/Trace"),
                     screen if math.isfinite(screen) else DEFAULT_SCREEN,
                     _number(settings, "step", DEFAULT_STEP))


def read(path):
    try:
        with open(path, "rb") as file:
            return parse(file.read())
    except OSError:
        return Schematic()
