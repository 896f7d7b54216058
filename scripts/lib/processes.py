"""Runs commands, each in a process group of its own, so that they can be ended with what
they have started: one that takes too long or, from any thread, all that run."""

import contextlib
import os
import signal
import subprocess
import threading

# Ninja's commands are in groups of their own; it ends them if it is let.
SIGNALS = (signal.SIGTERM, signal.SIGKILL)
GRACE = 1  # second between them

_changed = threading.Condition()
_running = set()
_is_over = False


class Ended(Exception):
    """Commands are no longer run."""


def run(command, patience=None, **options):
    """The command's status, or none if it took longer than so many seconds; its output."""
    with _changed:
        _expect_going_on()
        process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            text=True, errors="replace", start_new_session=True, **options,
        )  # fmt: skip
        _running.add(process)
    try:
        output, _ = process.communicate(timeout=patience)
    except subprocess.TimeoutExpired:
        return None, ""
    finally:
        _end(process)
        with _changed:
            _running.discard(process)
            _changed.notify_all()
    _expect_going_on()
    return process.returncode, output


def end_all():
    """Ends the commands that run; no others are run."""
    global _is_over  # pylint: disable=global-statement
    with _changed:
        _is_over = True
        for number in SIGNALS:
            for process in _running:
                _send(number, process)
            if _changed.wait_for(lambda: not _running, GRACE):
                return


def _expect_going_on():
    if _is_over:
        raise Ended


def _end(process):
    for number in SIGNALS:
        if process.returncode is None:
            _send(number, process)
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.communicate(timeout=GRACE)


def _send(number, process):
    if process.returncode is None:
        with contextlib.suppress(ProcessLookupError):  # when it has just ended
            os.killpg(process.pid, number)
