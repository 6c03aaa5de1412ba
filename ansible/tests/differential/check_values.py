#!/usr/bin/env python3
# The module's value handling against the tool itself. Each generated task
# value goes through what the module does with it (its parameter checks, then
# desired()) and, in this sandbox, through `vantorctl -s -f` and `-g`: once
# with the task's own text, once with the text the module writes for it. What
# the module refuses the tool must refuse (a cid with the same message); what
# the module takes must be stored as the module predicts, compared as the
# module compares, and be taken by the tool, except for the few settings whose
# values the module leaves to the tool (PASSED_ON): those fail the task with
# the tool's message and are counted.
#   check_values.py <vantorctl>    (run by ../run differential, as root in a sandbox)
import collections
import os
import random
import string
import subprocess
import sys
import time
from typing import Any, Iterator

sys.path.insert(0, os.environ["ANSIBLE_COLLECTIONS_PATH"])
from ansible.module_utils.common.arg_spec import ArgumentSpecValidator  # noqa: E402
from ansible_collections.marrowlight.vantor.plugins.modules.vantorctl import _parameters  # noqa: E402
from ansible_collections.marrowlight.vantor.plugins.module_utils import vantorctl_values as v  # noqa: E402
from ansible_collections.marrowlight.vantor.plugins.module_utils.vantorctl_words import (  # noqa: E402
    CHOICES, FLAG_WORDS, TAG_PUNCTUATION)

EXE = sys.argv[1]
R = random.Random(20261124)
PARAMETERS = _parameters()
HEX = "0123456789abcdefABCDEF"
TAG = string.ascii_letters + string.digits + TAG_PUNCTUATION
# Values of these the module does not check: it writes them, the tool refuses
# them, and the task fails with the tool's message.
PASSED_ON = ("aph", "app", "tags", "loginterval", "logduration")


def pick(chars: str, n: int) -> str:
    return "".join(R.choice(chars) for _ in range(n))


def odd_case(word: str) -> str:
    return "".join(R.choice((c.lower(), c.upper())) for c in word)


def cids() -> Iterator[tuple[str, Any]]:
    # d: 34 lowercase digits with the right checksum; byte k is below 16, so
    # its pair may be written with a blank or sign before one digit.
    forms = (lambda d, k: d, lambda d, k: d.upper(), lambda d, k: odd_case(d),
             lambda d, k: "-".join((d[:8], d[8:12], d[12:16], d[16:20], d[20:32], d[32:])).upper(),
             lambda d, k: "".join(c + "-" * R.randrange(3) for c in d), lambda d, k: "{%s}" % d,
             lambda d, k: d[:32] + "%02x" % ((int(d[32:], 16) + R.randrange(1, 256)) % 256),
             lambda d, k: d[:32], lambda d, k: d[:33], lambda d, k: d + pick(HEX, 1), lambda d, k: d + "-x z",
             lambda d, k: d[:2 * k] + R.choice("+ \t") + d[2 * k + 1:],
             lambda d, k: d[:2 * k + 1] + R.choice("g+ x") + d[2 * k + 2:], lambda d, k: pick(HEX, R.randrange(31)))
    for _ in range(7):
        raw, k = bytearray(R.randbytes(16)), R.randrange(16)
        raw[k] &= 0x0F
        d = raw.hex() + "%02x" % (-sum(raw) & 0xFF)
        for form in forms:
            yield "cid", form(d, k)


def tokens() -> Iterator[tuple[str, Any]]:
    forms = ("%x", "%X", "0x%x", "0X%016X", "%d", "0%o", " \t%x", "+%x", "-%x", "-0x%x", "%xzz", "zz%x", "%020x")
    for bits in (20, 28, 32, 40, 56, 64, 64):
        n = R.getrandbits(bits)
        for form in forms:
            yield "provisioning-token", form % n
        yield "provisioning-token", "%x" % (n | 1 << 64)
    for text in ("", "0x", "00000000", "f" * 16, "-0000001", "-0000002", " " * 8, "0xzzzzzz", "1234567"):
        yield "provisioning-token", text


def tag_lists() -> Iterator[tuple[str, Any]]:
    for _ in range(24):
        tags = [pick(TAG, R.randint(1, 12)) for _ in range(R.randint(1, 4))]
        if R.random() < 0.3:
            t = R.randrange(len(tags))
            tags[t] += R.choice(" ,;:*\té~")
        yield "tags", tags
    for fixed in (["a" * 255], ["a" * 256], ["a" * 257], ["a" * 127, "b" * 128], ["a" * 128, "b" * 128], [], [""],
                  ["a", ""], ["é"]):
        yield "tags", fixed


def words() -> Iterator[tuple[str, Any]]:
    for option in ("apd", "fkm", "logcounters"):
        for value in (True, False, "TRUE", odd_case("true"), odd_case("false"), "yes", "On", "1", "0", 1, 0, "2", ""):
            yield option, value
    for option in ("trace", "pcpt", "backend", "billing"):
        for word in CHOICES[option]:
            yield option, word
            yield option, odd_case(word)
        yield option, R.choice(CHOICES[option]) + R.choice(("5", " ", "s"))
        yield option, ""
    for option in FLAG_WORDS:
        known = [w for w, _, _ in FLAG_WORDS[option]]
        yield option, []
        for n in range(20):
            listed = [R.choice(known) for _ in range(R.randint(1, 5))]
            if n % 5 == 0:
                listed.insert(R.randrange(len(listed) + 1), R.choice(("bogus", "", odd_case(R.choice(known)))))
            yield option, listed
        # Longer than the tool takes; the module writes the mask's own words.
        yield option, ["disableLogBuffer" if option == "feature" else "disableAzure"]
        yield option, ["disableLogBuffer" if option == "feature" else "disableAzure"] * 20


def texts_and_numbers() -> Iterator[tuple[str, Any]]:
    # The port is a number to a playbook ("080" is written as 80); the tool keeps text.
    for value in (0, 1, 80, 9999, 99999, 100000, 123456, -1, -9999, -99999):
        yield "app", value
    for n in (1, 100, 255, 256):
        yield "aph", pick(string.ascii_lowercase + ".-", n)
    yield "aph", "proxy host"
    for option in ("loginterval", "logduration"):
        for seconds in (0, 1, 4, 5, 6, 60, 3599, 3600, 3601, 4294967, 4294968, 4294967294, 4294967295, 2 ** 32, -1,
                        "60", " 120"):
            yield option, seconds


def module(option: str, value: Any) -> tuple[Any, ...]:
    """(refused, stored form, text to write or the refusal's message)."""
    param = v.param_name(option)
    checked = ArgumentSpecValidator({param: PARAMETERS[param]}).validate({param: value})
    if checked.error_messages:
        return True, None, checked.error_messages[0]
    try:
        return (False,) + v.desired(option, checked.validated_parameters[param])
    except v.RefusedValue as refusal:
        return True, None, str(refusal)


def tool(*args: str) -> tuple[int, str, str]:
    done = subprocess.run([EXE] + list(args), capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


def stored(option: str) -> Any:
    return v.parse_get(option, *tool("-g", "--" + option))


def main() -> int:
    start, tally, wrong = time.monotonic(), collections.Counter(), []  # type: float, collections.Counter[Any], list[Any]
    for option, value in (c for g in (cids, tokens, tag_lists, words, texts_and_numbers) for c in g()):
        refused, wanted, text = module(option, value)
        # The tool takes the task's own text first, then what the module writes for it.
        raw = ",".join(value) if isinstance(value, list) else str(value)
        rc, _, err = tool("-s", "-f", "--%s=%s" % (option, raw))
        got = stored(option)
        written = rc, got
        if not refused and text != raw:
            written = tool("-s", "-f", "--%s=%s" % (option, text))[0], stored(option)
        why = None
        if refused and not rc:
            why = "the module refuses what the tool stores"
        elif refused and option == "cid" and text not in err.split("\n"):
            why = "other message"
        elif not refused and (not rc and got != wanted or not written[0] and written[1] != wanted):
            why = "stored values differ"
        elif not refused and written[0] and option not in PASSED_ON:
            why = "the module takes what the tool refuses"
        tally[why or (refused, bool(written[0]))] += 1
        if why:
            wrong.append("%s %r: %s: module %s, tool %s%s" % (
                option, value, why, "refused (%s)" % text if refused else "stores %r (writes %r)" % (wanted, text),
                "refused (%s)" % err.split("\n")[0] if rc else "stores %r" % (got,),
                "" if written == (rc, got) else ", %s the module's text" % (
                    "refuses" if written[0] else "stores %r from" % (written[1],))))
    for line in wrong:
        print("DISAGREE: " + line)
    print("%d cases: %d stored alike, %d refused by both, %d passed on by the module and refused by the tool, "
          "%d disagreements; %.1f s" % (sum(tally.values()), tally[False, False], tally[True, True],
                                        tally[False, True], len(wrong), time.monotonic() - start))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
