#!/usr/bin/python
# -*- coding: utf-8 -*-
from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: vantorctl_info
short_description: Read the sensor's stored settings and its state
description:
  - Reads every stored setting of the endpoint-security sensor and its state (version, system tags, reduced
    functionality mode) by running C(vantorctl -g) on the host, one run per value.
  - Changes nothing. The module never reads the store file itself.
version_added: "1.0.0"
options:
  show_secrets:
    description: Return the provisioning token itself instead of C(********).
    type: bool
    default: false
extends_documentation_fragment:
  - marrowlight.vantor.vantorctl
attributes:
  check_mode:
    support: full
    details: Reads only, so it runs the same in check mode.
notes:
  - A store the tool cannot read fails the task with the tool's message. A state query the sensor does not answer
    (no system tags while it is stopped, say) gives null and a warning.
seealso:
  - module: marrowlight.vantor.vantorctl
"""

EXAMPLES = r"""
- name: Read the sensor's settings and state
  marrowlight.vantor.vantorctl_info:
  register: sensor

- name: Hosts in reduced functionality mode
  ansible.builtin.debug:
    msg: "{{ inventory_hostname }}: {{ sensor.status.rfm_reason }}"
  when: sensor.status.rfm_state
"""

RETURN = r"""
settings:
  description:
    - Every readable stored setting, keyed with underscores; null when nothing is stored.
    - C(cid) and C(aid) as 32 lowercase hexadecimal digits; C(apd), C(fkm) and C(logcounters) as booleans; C(app),
      C(loginterval) and C(logduration) as integers (C(app) as its text where that is no decimal number); C(tags),
      C(feature) and C(metadata_query) as lists of words (for the flag sets, the word of each set bit; an empty mask
      is C([])); C(provisioning_token) as C(********) unless I(show_secrets); the rest as strings.
    - C(pcpt) is never null, as the tool reads an empty slot as C(auto).
  returned: always
  type: dict
  sample:
    cid: 00112233445566778899aabbccddeeff
    aid: null
    apd: false
    aph: proxy.example.net
    app: 3128
    trace: info
    pcpt: auto
    feature: [enableLog]
    metadata_query: []
    billing: null
    tags: [web, prod/eu]
    provisioning_token: "********"
    backend: null
    fkm: null
    logcounters: null
    loginterval: null
    logduration: null
status:
  description: The sensor's state; a value the sensor does not answer is null.
  returned: always
  type: dict
  contains:
    version:
      description: Version of the running sensor.
      type: str
    systags:
      description: System tags applied to the running sensor, as printed.
      type: list
      elements: str
    rfm_state:
      description: Whether the sensor is in reduced functionality mode; null when it has not said.
      type: bool
    rfm_reason:
      description: Why the sensor is in reduced functionality mode, as the tool prints it.
      type: str
"""

import re

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.marrowlight.vantor.plugins.module_utils.vantorctl_tool import module_tool
from ansible_collections.marrowlight.vantor.plugins.module_utils.vantorctl_values import (
    READABLE, ReadError, answer_lines, param_name, typed,
)


def _query(module, tool, option):
    """Standard output of `vantorctl -g --<option>`, or None and a warning."""
    rc, out, err = tool.query(option)
    if rc != 0:
        first = err.strip().split("\n")[0] if err.strip() else "exit status %d" % rc
        module.warn("The sensor did not answer --%s: %s" % (option, first))
        return None
    return out


def status(module, tool):
    result = dict(version=None, systags=None, rfm_state=None, rfm_reason=None)
    out = _query(module, tool, "version")
    if out is not None:
        found = re.search(r"^version = (.*)$", out, re.M)
        result["version"] = found.group(1) if found else None
    out = _query(module, tool, "systags")
    if out is not None:
        result["systags"] = [line.strip() for line in answer_lines(out)]
    out = _query(module, tool, "rfm-state")
    if out is not None:
        found = re.search(r"^rfm-state=(true|false)\.$", out, re.M)
        result["rfm_state"] = found.group(1) == "true" if found else None
    out = _query(module, tool, "rfm-reason")
    if out is not None:
        found = re.search(r"^rfm-reason=(.*)\.$", out, re.M)
        result["rfm_reason"] = found.group(1) if found else None
    return result


def main():
    module = AnsibleModule(
        argument_spec=dict(show_secrets=dict(type="bool", default=False), executable=dict(type="path")),
        supports_check_mode=True,
    )
    tool = module_tool(module)
    settings = {}
    for option in READABLE:
        try:
            settings[param_name(option)] = typed(option, tool.get(option), module.params["show_secrets"])
        except ReadError as error:
            module.fail_json(msg=str(error))
    module.exit_json(changed=False, settings=settings, status=status(module, tool))


if __name__ == "__main__":
    main()
