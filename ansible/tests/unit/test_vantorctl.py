# Unit tests of the collection's value handling: reading each of the tool's
# answers, normalising and comparing a task's values, planning the changes and
# putting them back. Run by ansible/tests/run unit (python3 -m unittest).
import atexit
import os
import shutil
import sys
import tempfile
import unittest
from typing import Any

try:
    import ansible.module_utils.basic  # noqa: F401
    HAVE_ANSIBLE = True
except ImportError:
    HAVE_ANSIBLE = False

# Importable as the collection: <tmp>/ansible_collections/marrowlight/vantor -> ansible/.
_root = tempfile.mkdtemp(prefix="vantor-collection-")
atexit.register(shutil.rmtree, _root)
os.makedirs(os.path.join(_root, "ansible_collections", "marrowlight"))
for package in ("ansible_collections", os.path.join("ansible_collections", "marrowlight")):
    open(os.path.join(_root, package, "__init__.py"), "w").close()
os.symlink(os.path.abspath(os.path.join(os.path.dirname(__file__), "..", "..")),
           os.path.join(_root, "ansible_collections", "marrowlight", "vantor"))
sys.path.insert(0, _root)

from ansible_collections.marrowlight.vantor.plugins.module_utils import vantorctl_tool as tool_mod  # noqa: E402
from ansible_collections.marrowlight.vantor.plugins.module_utils import vantorctl_values as v  # noqa: E402

CID = "00112233445566778899aabbccddeeff"


class ReadingAnswers(unittest.TestCase):
    def get(self, option: str, stdout: str, rc: int = 0, stderr: str = "") -> Any:
        return v.parse_get(option, rc, stdout, stderr)

    def test_values(self) -> None:
        cases = [
            ("cid", 'cid="%s".\n' % CID, CID),
            ("apd", "apd=TRUE.\n", "TRUE"),
            ("aph", "aph=proxy.example.net.\n", "proxy.example.net"),
            ("app", "app=abc.\n", "abc"),
            ("feature", "feature=enableLog,disableLogBuffer (hex bitmask: 3).\n", 3),
            ("metadata-query", "metadata-query=disableAWS,enableAzure,disableGCP,enableOCI (hex bitmask: 5).\n", 5),
            ("tags", "tags=a,b/c.\n", "a,b/c"),
            ("provisioning-token", "provisioning-token=0012ab34.\n", 0x12AB34),
            ("loginterval", "log interval=60 seconds.\n", 60),
            # Log lines of a run moved into the host's namespaces, before and after.
            ("trace", "Tue Nov 24 10:00:00 2026 joined\t(41) [0]\ntrace=info.\n", "info"),
            ("trace", "trace=info.\nTue Nov 24 10:00:00 2026 closing\t(41) [0]\n", "info"),
        ]
        for option, stdout, stored in cases:
            with self.subTest(option=option, stdout=stdout):
                self.assertEqual(self.get(option, stdout), stored)

    def test_nothing_stored(self) -> None:
        for option, stdout in [("apd", "apd is not set.\n"), ("tags", "Sensor grouping tags are not set.\n"),
                               ("metadata-query", "metadata-query=enable (unset default).\n"),
                               ("feature", "feature is not set.\n"),
                               ("logduration", "log duration is not set. Default value is 3600 seconds.\n")]:
            with self.subTest(option=option):
                self.assertIsNone(self.get(option, stdout))
        self.assertIsNone(self.get("cid", "\n", 1, "CID is not set. Use vantorctl to set the CID\n"
                                   "ERROR: failed to process the option --cid\n"))
        self.assertIsNone(self.get("logcounters", "\n", 1, "Failed to read log settings from config. "
                                   "Status: 0xC0000225\nERROR: failed to process the option --logcounters\n"))

    def test_failures(self) -> None:
        # Another status of the same read, a failure of an option that has no
        # "not set" failure, and an answer of an unknown shape.
        with self.assertRaisesRegex(v.ReadError, "0xC0000001"):
            self.get("logcounters", "\n", 1, "Failed to read log settings from config. Status: 0xC0000001\n")
        with self.assertRaisesRegex(v.ReadError, "Could not read app proxy disable"):
            self.get("apd", "\n", 1, "Could not read app proxy disable from config file\n")
        with self.assertRaises(v.ReadError):
            self.get("aph", "host=x.\n")
        with self.assertRaises(v.ReadError):
            self.get("cid", 'cid="0011".\n')


# What the tool would store for a task's value is compared with the tool
# itself by the differential test (ansible/tests/differential); these are the
# module's own forms: the facts, the texts it writes back, an empty list.
class Values(unittest.TestCase):
    def test_facts_and_written_texts(self) -> None:
        self.assertEqual(v.mask_words("feature", 0x10001), ["enableLog", "disableOsfm"])
        self.assertEqual(v.mask_words("metadata-query", 0x21), ["disableAWS", "0x20"])
        self.assertEqual(v.mask_text("metadata-query", 0), "enable")
        self.assertEqual(v.mask_text("feature", 3), "enableLog,disableLogBuffer")
        self.assertIsNone(v.mask_text("feature", 0x10000))
        with self.assertRaisesRegex(v.RefusedValue, "absent"):
            v.desired("tags", [])
        self.assertEqual(v.typed("app", "abc"), "abc")
        self.assertEqual(v.typed("provisioning-token", 5), v.MASKED)
        self.assertEqual(v.typed("provisioning-token", 5, show_secrets=True), "00000005")


# Plays vantorctl's writes: each run answers rc 0 unless its option is in
# `refuse`; records every argv.
class ScriptedTool:

    def __init__(self, refuse: tuple[str, ...] = (), stderr: str = "", fail_after: int | None = None) -> None:
        self.runs: list[Any] = []
        self.refuse = refuse
        self.stderr = stderr
        self.fail_after = fail_after  # runs that succeed before every later one fails

    def __call__(self, argv: list[Any], data: str | None = None) -> tuple[int, str, str]:
        self.runs.append(argv[1:] + ([("stdin", data)] if data is not None else []))
        argv = [a for a in argv if not isinstance(a, tuple)]
        option = argv[-1].lstrip("-").split("=")[0] if argv[-1] != "--update" else argv[-2].lstrip("-").split("=")[0]
        if option in self.refuse or (self.fail_after is not None and len(self.runs) == self.fail_after + 1):
            return 1, "\n", "refused %s\n" % option
        return 0, "\n", self.stderr


class PlanAndApply(unittest.TestCase):
    def test_order_and_protection(self) -> None:
        current = {"aid": "a" * 32, "tags": "x", "cid": None, "trace": "info", "aph": "h"}
        wanted = {"trace": ("warn", "warn"), "cid": (CID, "C")}
        steps = tool_mod.plan(current, wanted, ["aid", "tags", "aph"], force=True)
        self.assertEqual([(s.option, s.text) for s in steps],
                         [("cid", "C"), ("trace", "warn"), ("aph", None), ("tags", None), ("aid", None)])
        self.assertEqual(tool_mod.plan(current, {"trace": ("info", "info")}, [], False), [])
        # An equal protected value needs no force.
        self.assertEqual(tool_mod.plan(current, {"tags": ("x", "x")}, [], force=False), [])

    def test_failure_puts_back_every_earlier_change(self) -> None:
        current = {"cid": "ff" * 16, "pcpt": None, "trace": "info", "billing": None, "tags": "x"}
        wanted = {"cid": (CID, "C"), "pcpt": ("ipv6", "ipv6"), "trace": ("warn", "warn"),
                  "billing": ("metered", "metered"), "tags": ("bad tag", "bad tag")}
        steps = tool_mod.plan(current, wanted, [], force=True)
        runner = ScriptedTool(refuse=("tags",))
        with self.assertRaises(tool_mod.TaskFailed) as failed:
            tool_mod.apply(tool_mod.Tool(runner, "vantorctl"), steps, force=True, reload=True)
        self.assertEqual(failed.exception.rc, 1)
        self.assertEqual(failed.exception.msg, "refused tags\nPut back: billing, pcpt, trace, cid")
        # The sensor was told of the change, so of its undoing too.
        self.assertEqual(runner.runs[7], ["-s", "--trace=info", "--update"])
        self.assertEqual(runner.runs[0], ["-s", "-f", "--cid=@/dev/stdin", ("stdin", "C")])

    def test_signal_failure_is_a_warning(self) -> None:
        runner = ScriptedTool(stderr="Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: "
                                     "No such file or directory\n")
        tool = tool_mod.Tool(runner, "vantorctl")
        tool_mod.apply(tool, tool_mod.plan({"trace": None, "apd": None},
                                           {"trace": ("err", "err"), "apd": ("TRUE", "true")}, [], False),
                       force=False, reload=True)
        self.assertEqual(runner.runs, [["-s", "--apd=true"], ["-s", "--trace=err", "--update"]])
        self.assertEqual(len(tool.warnings), 1)
        self.assertIn("trace was stored, but the sensor was not signalled", tool.warnings[0])


# A task's value for `option` by its form alone: two different ones (pick 0, 1).
def sample(option: str, pick: int) -> object:
    form = dict((row[0], row[2]) for row in v.OPTIONS)[option]
    if option in v.CHOICES and form != "switch":
        return [v.CHOICES[option][pick]] if form == "flag_set" else v.CHOICES[option][pick]
    return {"identifier": (CID, "ff" * 16), "token": ("0011223344556677", "00112233"), "switch": (True, False),
            "seconds": (60, 61), "tag_list": (["a"], ["b"])}.get(form or "", ("8", "9") if option in v.NUMBERS
                                                                   else ("x", "y"))[pick]


# Every setting of the generated table through plan and rollback: a row the
# module's helpers know nothing of beyond the table fails here, not on a host.
class EveryRow(unittest.TestCase):
    def test_plan_and_put_back(self) -> None:
        for option in v.SETTABLE:
            first, second = v.desired(option, sample(option, 0)), v.desired(option, sample(option, 1))
            for before in (None, first[0]):
                with self.subTest(option=option, before=before):
                    steps = tool_mod.plan({option: before}, {option: second}, [], force=True)
                    self.assertEqual([(s.option, s.text) for s in steps], [(option, second[1])])
                    runner = ScriptedTool(fail_after=1)  # the change is made, the next run fails
                    with self.assertRaises(tool_mod.TaskFailed) as failed:
                        tool_mod.apply(tool_mod.Tool(runner, "vantorctl"), steps * 2, force=True, reload=False)
                    self.assertEqual(failed.exception.msg.split("\n")[-1], "Put back: " + option)
                    undo = runner.runs[2]
                    if before is not None:
                        text = v.write_back_text(option, before)
                        self.assertIn(undo[-1], [("stdin", text), "--%s=%s" % (option, text)])
                    else:
                        self.assertEqual(undo, ["-d", "-f", "--" + option] if option in v.DELETABLE
                                         else ["-s", "--%s=%s" % (option, v.EMPTY_WORDS[option])])
                    if before is not None and v.is_protected(option):
                        with self.assertRaises(tool_mod.TaskFailed) as refused:
                            tool_mod.plan({option: before}, {option: second}, [], force=False)
                        self.assertEqual(refused.exception.msg, tool_mod.PROTECTED_SET[option])
        for option in filter(v.is_protected, v.DELETABLE):
            with self.subTest(option=option, delete=True), self.assertRaises(tool_mod.TaskFailed) as refused:
                tool_mod.plan({option: "x"}, {}, [option], force=False)
            self.assertEqual(refused.exception.msg, tool_mod.PROTECTED_DELETE[option])


@unittest.skipUnless(HAVE_ANSIBLE, "ansible is not installed")
class Documentation(unittest.TestCase):
    def test_options_match_the_parameters(self) -> None:
        import yaml
        from ansible_collections.marrowlight.vantor.plugins.modules import vantorctl as module
        from ansible_collections.marrowlight.vantor.plugins.doc_fragments import vantorctl, vantorctl_settings
        documented = yaml.safe_load(module.DOCUMENTATION)["options"]
        for fragment in (vantorctl, vantorctl_settings):
            documented.update(yaml.safe_load(fragment.ModuleDocFragment.DOCUMENTATION)["options"])
        params = module._parameters()
        self.assertEqual(sorted(documented), sorted(params))
        for name, entry in params.items():
            with self.subTest(option=name):
                self.assertEqual(documented[name]["type"], entry["type"])
                self.assertEqual(documented[name].get("choices"), entry.get("choices"))
                self.assertEqual(documented[name].get("elements"), entry.get("elements"))
                self.assertEqual(documented[name].get("default"), entry.get("default"))
        self.assertTrue(params["provisioning_token"]["no_log"])


if __name__ == "__main__":
    unittest.main()
