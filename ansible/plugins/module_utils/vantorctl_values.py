# -*- coding: utf-8 -*-
# Value handling shared by the vantorctl and vantorctl_info modules: the option
# names, reading the tool's answers, normalising a task's values to what the
# tool would store, and comparing them. Pure Python: no Ansible import, so the
# unit tests run it directly. The modules never read the store file; every
# value comes from a `vantorctl -g` run.
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re
from typing import Any, List, Optional, Tuple, Union

from .vantorctl_words import (
    ANY_CASE, CHOICES, EMPTY_WORDS, FLAG_WORDS, NOT_SET_FAILURES, NUMBERS, OPTIONS, SWITCH_TEXTS,
)

MASKED = "********"

# A value as the tool stores it: a token or a mask as int, anything else as its text.
Stored = Union[str, int]

# option -> (modes, form, protected, reloads), from the tool's own table.
_ROWS = dict((row[0], row[1:]) for row in OPTIONS)
TABLE_ORDER = [row[0] for row in OPTIONS]
_FORM = dict((option, row[1]) for option, row in _ROWS.items())

# The stored settings a task may name, in the tool's table order. Queries of
# the sensor's state (version, systags, rfm-*) have no form.
SETTINGS = [name for name in TABLE_ORDER if _FORM[name] is not None]
READABLE = [name for name in SETTINGS if "g" in _ROWS[name][0]]
SETTABLE = [name for name in SETTINGS if "s" in _ROWS[name][0]]
DELETABLE = [name for name in SETTINGS if "d" in _ROWS[name][0]]

# How each setting's value is typed in a task and in the facts. A text the
# tool keeps for a number (NUMBERS: the proxy port) is a number to a playbook;
# the names in ANY_CASE are taken in any letter case and stored as the tool
# spells them (both from the tool's tables, vantorctl_words.py).
BOOLEANS = [name for name in SETTINGS if _FORM[name] == "switch"]
INTEGERS = [name for name in SETTINGS if _FORM[name] == "seconds"]
FLAG_SETS = [name for name in SETTINGS if _FORM[name] == "flag_set"]
LISTS = [name for name in SETTINGS if _FORM[name] in ("flag_set", "tag_list")]
IDENTIFIERS = [name for name in SETTINGS if _FORM[name] == "identifier"]
TOKEN = "provisioning-token"

_HEX32 = re.compile(r"^[0-9a-fA-F]{32}$")


class RefusedValue(ValueError):
    """A value the tool would refuse, with the text to show."""


def param_name(option: str) -> str:
    return option.replace("-", "_")


def option_name(param: str) -> str:
    return param.replace("_", "-")


def is_protected(option: str) -> bool:
    return _ROWS[option][2]


def reloads(option: str) -> bool:
    return _ROWS[option][3]


# ---------------------------------------------------------------------------
# Identifiers: 16 bytes. The tool takes the checksum form (34 hexadecimal
# digits, dashes anywhere, either case: the 33rd and 34th digits make the byte
# sum 0 modulo 256) and prints 32 lowercase digits. A task may give either.

# Two characters as the tool converts them to a byte (strtol in base 16, both
# consumed): two digits, or one digit after a blank or a sign.
_PAIR = re.compile(r"[0-9a-fA-F]{2}|[ \t\n\v\f\r+][0-9a-fA-F]")


def identifier_bytes(text: str) -> bytes:
    """16 bytes of a cid in checksum or printed form; RefusedValue when neither.
    The checksum form is read as the tool reads it: the first 34 characters
    that are no dash, in pairs; whatever follows them is ignored."""
    digits = text.replace("-", "")
    if _HEX32.match(digits):
        return bytes.fromhex(digits)
    if len(digits) < 34:
        raise RefusedValue('"%s" is not valid value for checksum CID (CCID)' % text)
    pairs = [digits[i:i + 2] for i in range(0, 34, 2)]
    if not all(_PAIR.fullmatch(pair) for pair in pairs) or sum(int(pair, 16) for pair in pairs) & 0xFF != 0:
        raise RefusedValue('"%s" failed checksum validation' % text)
    return bytes(int(pair, 16) for pair in pairs[:16])


def checksum_form(raw: bytes) -> str:
    """The text the tool takes for these 16 bytes: 32 digits and their checksum."""
    return raw.hex().upper() + "%02X" % ((-sum(raw)) & 0xFF)


# ---------------------------------------------------------------------------
# Provisioning token: a 64-bit number stored from text the way the tool parses
# it: at least 8 characters, an even count, read as C's strtoull base 16 reads
# it (leading blanks, a sign, an optional 0x, then digits up to the first
# other character); 0, all ones and an overflow are refused.

def parse_token(text: str) -> Optional[int]:
    """The number the tool would store, or None when it refuses the text."""
    if len(text) < 8 or len(text) % 2 != 0:
        return None
    i = 0
    while i < len(text) and text[i] in " \t\n\v\f\r":
        i += 1
    negative = False
    if i < len(text) and text[i] in "+-":
        negative = text[i] == "-"
        i += 1
    if text[i:i + 2].lower() == "0x" and i + 2 < len(text) and text[i + 2] in "0123456789abcdefABCDEF":
        i += 2
    start = i
    while i < len(text) and text[i] in "0123456789abcdefABCDEF":
        i += 1
    if i == start:
        return None
    value = int(text[start:i], 16)
    if value > 0xFFFFFFFFFFFFFFFF:
        return None
    if negative:
        value = (-value) & 0xFFFFFFFFFFFFFFFF
    if value == 0 or value == 0xFFFFFFFFFFFFFFFF:
        return None
    return value


def token_text(value: int) -> str:
    """Text the tool takes back for a stored token: hexadecimal, at least 8
    digits, an even count."""
    text = "%08x" % value
    return text if len(text) % 2 == 0 else "0" + text


# ---------------------------------------------------------------------------
# Flag sets: a mask built from words applied left to right to 0.

def words_mask(option: str, words: List[str]) -> int:
    mask = 0
    table = dict((word, (action, bits)) for word, action, bits in FLAG_WORDS[option])
    for word in words:
        if word not in table or table[word][0] == "show":
            raise RefusedValue("not a valid %s switch: %s" % (option, word))
        action, bits = table[word]
        if action == "set":
            mask |= bits
        elif action == "clear":
            mask &= ~bits
        else:
            mask = 0
    return mask


def mask_words(option: str, mask: int) -> List[str]:
    """The typed form of a mask: the word of each set bit in table order
    (single-bit words only), then any bits no word names in hexadecimal."""
    words = []
    left = mask
    for word, action, bits in FLAG_WORDS[option]:
        if action in ("set", "show") and bits and bits & (bits - 1) == 0 and mask & bits:
            words.append(word)
            left &= ~bits
    if left:
        words.append("0x%X" % left)
    return words


def mask_text(option: str, mask: int) -> Optional[str]:
    """Text the tool takes for a mask; None when a bit cannot be set by a word."""
    words = []
    covered = 0
    for word, action, bits in FLAG_WORDS[option]:
        if action == "set" and bits and bits & (bits - 1) == 0 and mask & bits:
            words.append(word)
            covered |= bits
    if covered != mask:
        return None
    return ",".join(words) if words else EMPTY_WORDS[option]


# ---------------------------------------------------------------------------
# Reading the tool's answers. Each read is its own `vantorctl -g --<option>`
# run; stdout ends with the value line and the run's newline. A run that moved
# into the host's namespaces also writes its log lines there; they are left out.

class ReadError(Exception):
    """A read that failed for a reason other than 'nothing stored'."""


# A log line of the tool ends with a tab, "(<thread id>) [<message number>]".
_LOG_LINE = re.compile(r"\t\(\d+\) \[\d+\]$")


def answer_lines(stdout: str) -> List[str]:
    """The non-empty lines of a run's standard output, without log lines."""
    return [line for line in stdout.split("\n") if line.strip() and not _LOG_LINE.search(line)]


def _last_line(stdout: str) -> str:
    lines = answer_lines(stdout)
    return lines[-1] if lines else ""


def parse_get(option: str, rc: int, stdout: str, stderr: str) -> Optional[Stored]:
    """The stored value of `option` from one get run, as stored text (a mask
    or a token as int, an identifier as 32 digits), or None when nothing is
    stored. ReadError for any other failure."""
    if rc != 0:
        expected = NOT_SET_FAILURES.get(option)
        if expected is not None and expected in stderr.split("\n"):
            return None
        raise ReadError(stderr.strip() or stdout.strip() or "vantorctl -g --%s failed (exit %d)" % (option, rc))
    line = _last_line(stdout)
    if not line.endswith("."):
        raise ReadError("unexpected answer to -g --%s: %r" % (option, stdout))
    line = line[:-1]
    if line == "%s is not set" % option:
        return None
    if option == "tags" and line == "Sensor grouping tags are not set":
        return None
    if option in INTEGERS:
        word = option[3:]  # "log interval", "log duration"
        if re.match(r"^log %s is not set\. Default value is \d+ seconds$" % word, line):
            return None
        found = re.match(r"^log %s=(\d+) seconds$" % word, line)
        if found:
            return int(found.group(1))
    prefix = option + "="
    if not line.startswith(prefix):
        raise ReadError("unexpected answer to -g --%s: %r" % (option, stdout))
    text = line[len(prefix):]
    if option in FLAG_SETS:
        if text.endswith(" (unset default)"):
            return None
        found = re.match(r"^.* \(hex bitmask: ([0-9a-f]+)\)$", text)
        if not found:
            raise ReadError("unexpected answer to -g --%s: %r" % (option, stdout))
        return int(found.group(1), 16)
    if option in IDENTIFIERS:
        found = re.match(r'^"([0-9a-f]{32})"$', text)
        if not found:
            raise ReadError("unexpected answer to -g --%s: %r" % (option, stdout))
        return found.group(1)
    if option == TOKEN:
        return int(text, 16)
    return text


def typed(option: str, stored: Optional[Stored], show_secrets: bool = False) -> Any:
    """The facts' form of a stored value (see the vantorctl_info RETURN)."""
    if stored is None:
        return None
    if option in BOOLEANS:
        return stored == SWITCH_TEXTS[option][1]
    if option in NUMBERS or option in INTEGERS:
        return int(stored) if re.match(r"^\d+$", str(stored)) else stored
    if option in FLAG_SETS:
        return mask_words(option, stored)
    if option in LISTS:
        return stored.split(",")
    if option == TOKEN:
        return token_text(stored) if show_secrets else MASKED
    return stored


# ---------------------------------------------------------------------------
# A task's value, normalised to what the tool would store (comparable with
# parse_get's result), and the text to write it with.

def desired(option: str, value: Any) -> Tuple[Stored, str]:
    """(stored form, text for --<option>=) of a task's value; RefusedValue for
    a value this module can tell is refused."""
    if option in IDENTIFIERS:
        raw = identifier_bytes(value)
        digits = value.replace("-", "")
        return raw.hex(), value if len(digits) == 34 else checksum_form(raw)
    if option == TOKEN:
        number = parse_token(value)
        # Refused here, with the tool's message: a number of None would equal
        # an empty slot, and the task would end unchanged without a write.
        if number is None:
            raise RefusedValue("Provisioning token format incorrect")
        return number, value
    if option in BOOLEANS:
        return SWITCH_TEXTS[option][1 if value else 0], "true" if value else "false"
    if option in ANY_CASE:
        for word in CHOICES[option]:
            if value.isascii() and value.lower() == word:
                return word, word
        raise RefusedValue("not a valid %s option: %s" % (option, value))
    if option in NUMBERS:
        return str(value), str(value)
    if option in INTEGERS:
        return int(value), str(value)
    if option in FLAG_SETS:
        # Written as the mask's own words: the task's list may be longer than
        # the tool takes, and a stored mask equal to it would hide that.
        mask = words_mask(option, value)
        return mask, mask_text(option, mask)
    if option in LISTS:
        if not value:
            raise RefusedValue("an empty %s list does not delete the %s: list %s under absent"
                               % (param_name(option), param_name(option), param_name(option)))
        text = ",".join(value)
        return text, text
    return value, value


def write_back_text(option: str, stored: Stored) -> Optional[str]:
    """Text that writes `stored` (parse_get's form) back, or None."""
    if option in IDENTIFIERS:
        return checksum_form(bytes.fromhex(stored))
    if option == TOKEN:
        return token_text(stored)
    if option in BOOLEANS:
        return "true" if stored == SWITCH_TEXTS[option][1] else "false"
    if option in FLAG_SETS:
        return mask_text(option, stored)
    return str(stored)
