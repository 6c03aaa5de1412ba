#!/usr/bin/python
# -*- coding: utf-8 -*-
from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
---
module: vantorctl
short_description: Make the sensor's stored settings hold given values
description:
  - Sets and deletes the persistent settings of the endpoint-security sensor by running C(vantorctl) on the host.
  - Idempotent. Each setting the task names is read with its own C(vantorctl -g) run and compared by what the tool
    stores; only what differs is written, each changed setting in a run of its own, in the tool's table order.
    Deletes come after all writes, a deleted C(aid) last of all.
  - All or nothing. When the tool refuses a value or a write fails, every setting this task already changed is put
    back (a setting that was empty is deleted again; C(pcpt), C(feature) and C(metadata_query), which cannot be
    deleted, go back to C(auto), C(none) and C(enable), which the sensor reads like an empty slot). The task then
    fails with the tool's standard error in I(msg), saying what was put back.
  - The module never reads or writes the store file itself.
version_added: "1.0.0"
options:
  absent:
    description:
      - Settings to delete, named with underscores or dashes (C(provisioning_token) or C(provisioning-token)). C(aid)
        may be listed. C(pcpt), C(feature) and C(metadata_query) cannot be deleted and fail the task before anything
        runs. Deleting a protected setting (C(cid), C(aid), C(tags), C(provisioning_token)) needs I(force).
    type: list
    elements: str
    default: []
  force:
    description:
      - Replace or delete a protected value that is stored. Without it such a task fails with the tool's own message
        and nothing is written.
    type: bool
    default: false
  reload:
    description:
      - When C(trace), C(feature) or C(logcounters) changed, the run that writes it also passes C(--update), making
        the sensor daemon reload. Nothing is signalled when nothing changed. When the tool could not signal the
        sensor (no PID file, say), the task succeeds with a warning.
    type: bool
    default: false
extends_documentation_fragment:
  - marrowlight.vantor.vantorctl
  - marrowlight.vantor.vantorctl_settings
attributes:
  check_mode:
    support: full
  diff_mode:
    support: full
notes:
  - Runs as root on the host, as the tool itself must.
  - Values the tool refuses (a port over five characters, a tag with a space) are left to the tool, which refuses
    them with its own message; earlier changes of the task are then put back.
seealso:
  - module: marrowlight.vantor.vantorctl_info
"""

EXAMPLES = r"""
- name: Identity, tags and proxy of every sensor
  marrowlight.vantor.vantorctl:
    cid: 00112233-4455-6677-8899-AABBCCDDEEFF-08
    provisioning_token: "{{ vault_provisioning_token }}"
    tags: [web, prod/eu]
    aph: proxy.example.net
    app: 3128

- name: Raise the trace level and make the sensor reload now
  marrowlight.vantor.vantorctl:
    trace: info
    reload: true

- name: Replace the tags that are already set
  marrowlight.vantor.vantorctl:
    tags: [db]
    force: true

- name: Drop the proxy settings and the tags
  marrowlight.vantor.vantorctl:
    absent: [aph, app, tags]
    force: true
"""

RETURN = r"""
settings:
  description:
    - The settings the task names, after the task, typed as in M(marrowlight.vantor.vantorctl_info); null when
      nothing is stored. The provisioning token shows as C(********).
  returned: always
  type: dict
  sample: {"cid": "00112233445566778899aabbccddeeff", "tags": ["web", "prod/eu"], "app": 3128}
diff:
  description: C(before) and C(after) of the settings the task names, in the same typed form.
  returned: when diff mode is on
  type: dict
rc:
  description: Exit status of the vantorctl run that failed.
  returned: failure of a write or delete
  type: int
stdout:
  description: Standard output of the vantorctl run that failed.
  returned: failure of a write or delete
  type: str
stderr:
  description: Standard error of the vantorctl run that failed.
  returned: failure of a write or delete
  type: str
"""

from ansible.module_utils.basic import AnsibleModule

from ansible_collections.marrowlight.vantor.plugins.module_utils.vantorctl_tool import (
    TaskFailed, apply, module_tool, plan,
)
from ansible_collections.marrowlight.vantor.plugins.module_utils.vantorctl_words import CHOICES, CREDENTIALS, EMPTY_WORDS
from ansible_collections.marrowlight.vantor.plugins.module_utils.vantorctl_values import (
    ANY_CASE, DELETABLE, SETTABLE, SETTINGS, BOOLEANS, INTEGERS, LISTS, NUMBERS, ReadError,
    RefusedValue, desired, option_name, param_name, typed,
)


def _parameters():
    params = {}
    for option in SETTABLE:
        if option in BOOLEANS:
            entry = dict(type="bool")
        elif option in INTEGERS or option in NUMBERS:
            entry = dict(type="int")
        elif option in LISTS:
            entry = dict(type="list", elements="str")
        else:
            entry = dict(type="str")
        if option in CHOICES and option not in BOOLEANS and option not in ANY_CASE:
            entry["choices"] = list(CHOICES[option])
        if option in CREDENTIALS:
            entry["no_log"] = True  # kept out of Ansible's record of the task's arguments
        params[param_name(option)] = entry
    params.update(
        absent=dict(type="list", elements="str", default=[]),
        force=dict(type="bool", default=False),
        reload=dict(type="bool", default=False),
        executable=dict(type="path"),
    )
    return params


def _absent_options(names):
    """The options to delete, or TaskFailed naming a name that cannot be."""
    options = []
    for name in names:
        option = option_name(name)
        if option in EMPTY_WORDS:
            raise TaskFailed("%s cannot be deleted: the tool keeps it; set it to %s instead"
                             % (name, EMPTY_WORDS[option]))
        if option not in DELETABLE:
            raise TaskFailed("absent: %s is no setting that can be deleted (one of: %s)"
                             % (name, ", ".join(param_name(o) for o in DELETABLE)))
        options.append(option)
    return options


def run(module):
    params = module.params
    wanted = {}
    for option in SETTABLE:
        value = params[param_name(option)]
        if value is not None:
            try:
                wanted[option] = desired(option, value)
            except RefusedValue as error:
                raise TaskFailed("%s: %s" % (param_name(option), error))
    absent = _absent_options(params["absent"])
    both = [param_name(option) for option in absent if option in wanted]
    if both:
        raise TaskFailed("set and listed under absent at once: %s" % ", ".join(both))

    tool = module_tool(module)
    touched = [option for option in SETTINGS if option in wanted or option in absent]
    current = {}
    for option in touched:
        try:
            current[option] = tool.get(option)
        except ReadError as error:
            raise TaskFailed(str(error))

    steps = plan(current, wanted, absent, params["force"])
    after = dict(current)
    for step in steps:
        after[step.option] = step.after
    result = dict(
        changed=bool(steps),
        settings=dict((param_name(o), typed(o, after[o])) for o in touched),
    )
    if module._diff:
        result["diff"] = dict(
            before=dict((param_name(o), typed(o, current[o])) for o in touched),
            after=result["settings"],
        )
    if steps and not module.check_mode:
        try:
            apply(tool, steps, params["force"], params["reload"])
        finally:
            for warning in tool.warnings:
                module.warn(warning)
    return result


def main():
    module = AnsibleModule(argument_spec=_parameters(), supports_check_mode=True)
    try:
        result = run(module)
    except TaskFailed as failure:
        extra = dict((k, v) for k, v in (("rc", failure.rc), ("stdout", failure.stdout), ("stderr", failure.stderr))
                     if v is not None)
        module.fail_json(msg=failure.msg, **extra)
    module.exit_json(**result)


if __name__ == "__main__":
    main()
