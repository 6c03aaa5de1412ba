# -*- coding: utf-8 -*-
# Running vantorctl for the modules: one run per read, per write and per
# delete, and the all-or-nothing application of a task's changes. The command
# runner is passed in (AnsibleModule.run_command in the modules, a scripted
# stand-in in the unit tests).
from __future__ import absolute_import, division, print_function

__metaclass__ = type

from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple

from .vantorctl_values import DELETABLE, TABLE_ORDER, Stored, is_protected, parse_get, reloads, write_back_text
from .vantorctl_words import CREDENTIALS, EMPTY_WORDS, PROTECTED_DELETE, PROTECTED_SET

# What the tool prints, exit status 0, when --update could not signal the sensor.
_SIGNAL_FAILURES = ("Failed to get vantor PID", "Failed to send SIGHUP")


class TaskFailed(Exception):
    """Ends the task: msg, and the failed run's rc, stdout and stderr if any."""

    def __init__(self, msg: str, rc: Optional[int] = None, stdout: Optional[str] = None,
                 stderr: Optional[str] = None) -> None:
        Exception.__init__(self, msg)
        self.msg = msg
        self.rc = rc
        self.stdout = stdout
        self.stderr = stderr


class Tool:
    def __init__(self, run: Callable[..., Tuple[int, str, str]], executable: str) -> None:
        """run(argv, data=None) -> (rc, stdout, stderr); data, when given, is
        the run's standard input."""
        self._run = run
        self._executable = executable
        self.warnings: List[str] = []

    def query(self, option: str) -> Tuple[int, str, str]:
        """One `vantorctl -g --<option>` run: (rc, stdout, stderr)."""
        return self._run([self._executable, "-g", "--" + option])

    def get(self, option: str) -> Optional[Stored]:
        """The stored value of a setting (see parse_get)."""
        return parse_get(option, *self.query(option))

    def change(self, option: str, text: Optional[str], force: bool, update: bool) -> Tuple[int, str, str]:
        """One set (text not None) or delete run. Returns (rc, stdout, stderr)."""
        argv = [self._executable, "-s" if text is not None else "-d"]
        if force:
            argv.append("-f")
        # A credential never goes on a command line, where every local user
        # can read it in /proc: the tool reads it from standard input.
        data = text if text is not None and option in CREDENTIALS else None
        if data is not None:
            argv.append("--%s=@/dev/stdin" % option)
        else:
            argv.append("--%s=%s" % (option, text) if text is not None else "--" + option)
        if update:
            argv.append("--update")
        rc, out, err = self._run(argv) if data is None else self._run(argv, data=data)
        if rc == 0 and update:
            for line in err.split("\n"):
                if line.startswith(_SIGNAL_FAILURES):
                    self.warnings.append("%s was stored, but the sensor was not signalled: %s" % (option, line))
        return rc, out, err


def module_tool(module: Any) -> Tool:
    """A Tool running the module's `executable`, by default vantorctl on PATH."""
    executable = module.params["executable"] or module.get_bin_path("vantorctl", required=True)
    return Tool(module.run_command, executable)


class Step:
    """One changed setting: a write of `text`, or a delete when text is None."""

    def __init__(self, option: str, before: Optional[Stored], after: Optional[Stored], text: Optional[str]) -> None:
        self.option = option
        self.before = before  # stored form, None when empty
        self.after = after
        self.text = text

    def __repr__(self) -> str:
        return "Step(%r, %r -> %r)" % (self.option, self.before, self.after)


def plan(current: Mapping[str, Optional[Stored]], wanted: Mapping[str, Tuple[Stored, str]], absent: List[str],
         force: bool) -> List[Step]:
    """The steps that make the store hold what the task says: writes in the
    tool's table order, then deletes, a deleted aid last of all.

    current: option -> stored form or None; wanted: option -> (stored form,
    text); absent: options to delete. TaskFailed with the tool's own message
    for a protected value that differs, without force."""
    writes: List[Step] = []
    deletes: List[Step] = []
    for option in TABLE_ORDER:
        if option in wanted:
            value, text = wanted[option]
            before = current[option]
            if before == value:
                continue
            if before is not None and is_protected(option) and not force:
                raise TaskFailed(PROTECTED_SET[option])
            writes.append(Step(option, before, value, text))
        elif option in absent and current[option] is not None:
            if is_protected(option) and not force:
                raise TaskFailed(PROTECTED_DELETE[option])
            deletes.append(Step(option, current[option], None, None))
    deletes.sort(key=lambda step: step.option == "aid")
    return writes + deletes


def _put_back(tool: Tool, step: Step, signalled: bool) -> Optional[str]:
    """Undoes one applied step. Returns None, or the failing run's stderr."""
    if step.before is None:
        if step.option in DELETABLE:
            rc, _, err = tool.change(step.option, None, True, False)
        else:
            rc, _, err = tool.change(step.option, EMPTY_WORDS[step.option], False, signalled)
    else:
        text = write_back_text(step.option, step.before)
        if text is None:
            return "%s cannot be written back" % step.option
        rc, _, err = tool.change(step.option, text, is_protected(step.option), signalled)
    return None if rc == 0 else (err.strip() or "exit status %d" % rc)


def apply(tool: Tool, steps: List[Step], force: bool, reload: bool) -> None:
    """Runs each step in a run of its own. When one fails, puts back every
    step already done (newest first) and raises TaskFailed with the tool's
    standard error, what was put back, and the failed run's rc and output."""
    done: List[Tuple[Step, bool]] = []
    for step in steps:
        update = reload and reloads(step.option)
        rc, out, err = tool.change(step.option, step.text, force and is_protected(step.option), update)
        if rc == 0:
            done.append((step, update))
            continue
        restored: List[str] = []
        lost: List[str] = []
        for earlier, signalled in reversed(done):
            problem = _put_back(tool, earlier, signalled)
            if problem is None:
                restored.append(earlier.option)
            else:
                lost.append("%s (%s)" % (earlier.option, problem))
        msg = err.strip() or "vantorctl failed with exit status %d" % rc
        if restored:
            msg += "\nPut back: %s" % ", ".join(restored)
        elif not lost:
            msg += "\nNothing to put back."
        if lost:
            msg += "\nCould not put back: %s" % ", ".join(lost)
        raise TaskFailed(msg, rc, out, err)
