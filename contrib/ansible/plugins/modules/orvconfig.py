#!/usr/bin/python3
# Ansible module driving orvconfig on the managed host.
from __future__ import annotations

DOCUMENTATION = r"""
---
module: orvconfig
short_description: Configure one host of an ORV cluster with orvconfig
description:
  - Runs one orvconfig subcommand on the managed host. Questions are answered with yes
    (C(-f) is added where the subcommand takes it).
  - In check mode the subcommand runs with C(--dry-run), which makes every check of the real
    run and writes nothing. C(changed) is true exactly when a file would change (or changed).
  - With C(--diff), the files changed are returned as before/after texts.
  - C(subcommand=check) runs the read-only report; it never reports C(changed), fails when
    the report holds errors, and returns the findings as data.
  - The environment of the cluster kernel (C(ORV_CONFDIR), C(ORV_LOCAL_CONFDIR), C(ORV_TOP),
    C(VOS_ENVDIR)) comes from the task's C(environment).
options:
  subcommand:
    description: The subcommand.
    required: true
    type: str
    choices: [masterlist, join, mghost, unsetmghost, setbaseport, hovhdfsport, addresourceattr,
              check]
  args:
    description: The operands of the subcommand, in order.
    type: list
    elements: str
    default: []
  binary:
    description: The orvconfig program.
    type: str
    default: orvconfig
"""

EXAMPLES = r"""
- name: Promote the management hosts onto the shared top (after the master)
  orvconfig.cluster.orvconfig:
    subcommand: mghost
    args: [/shared/top]
  environment: "{{ orv_env }}"

- name: Tag the compute hosts
  orvconfig.cluster.orvconfig:
    subcommand: addresourceattr
    args: ["[resource scvg]"]

- name: Check every host before restarting the daemons
  orvconfig.cluster.orvconfig:
    subcommand: check
"""

RETURN = r"""
stdout:
  description: The messages of the run (of the preview in check mode), without the diff.
  type: str
  returned: always
rc:
  description: The exit status of orvconfig (0 or 255).
  type: int
  returned: always
files:
  description: The files that would change or changed.
  type: list
  elements: str
  returned: always
directories:
  description: The directories that would be made or were made.
  type: list
  elements: str
  returned: always
role:
  description: This host's role in its cluster, as check names it.
  type: str
  returned: when subcommand is check
cluster:
  description: The cluster's name, as check reads it.
  type: str
  returned: when subcommand is check
counts:
  description: The numbers of errors and warnings that check found.
  type: dict
  returned: when subcommand is check
findings:
  description: What check found, each with level, path, line, a stable code and text.
  type: list
  elements: dict
  returned: when subcommand is check
"""

import json
import os
import re

from ansible.module_utils.basic import AnsibleModule

TAKES_FORCE = {"masterlist", "join", "mghost", "unsetmghost"}
HUNK = re.compile(r"^@@ -(\d+)(?:,(\d+))? \+(\d+)(?:,(\d+))? @@")


def split_report(output):
    """The run's own messages, and the preview's diffs and directory lines after them."""
    lines = output.splitlines(keepends=True)
    start = len(lines)
    for i, line in enumerate(lines):
        if line.startswith("--- ") or line.startswith("Would ") or line == "Dry run: nothing was changed.\n":
            start = i
            break
    return "".join(lines[:start]), lines[start:]


def parse_preview(lines):
    """[(path, hunks)] with each hunk a list of lines, and the directories to make."""
    files, dirs, i = [], [], 0
    while i < len(lines):
        line = lines[i]
        if line.startswith("--- ") and i + 1 < len(lines) and lines[i + 1].startswith("+++ "):
            old, new = line[4:].rstrip("\n"), lines[i + 1][4:].rstrip("\n")
            path = new if new != "/dev/null" else old
            hunks, i = [], i + 2
            while i < len(lines) and (lines[i][:1] in " -+\\" or lines[i].startswith("@@")):
                if lines[i].startswith("@@"):
                    hunks.append([])
                else:
                    hunks[-1].append(lines[i])
                i += 1
            files.append((path, old == "/dev/null", new == "/dev/null", hunks))
            continue
        m = re.match(r"^Would make the directory (.*)\.$", line.rstrip("\n"))
        if m:
            dirs.append(m.group(1))
        m = re.match(r"^Would create the empty file (.*)\.$", line.rstrip("\n"))
        if m:
            files.append((m.group(1), True, False, []))
        i += 1
    return files, dirs


def apply_hunks(before, hunks):
    """The text after: the old text with each hunk's lines replaced by its new ones."""
    old = before.splitlines(keepends=True)
    out, at = [], 0
    for hunk in hunks:
        body = [l for l in hunk if not l.startswith("\\")]
        # The old lines of the hunk locate it; the unchanged lines before it are kept.
        olds = [l[1:] for l in body if l[0] in " -"]
        start = at
        while olds and old[start:start + len(olds)] != olds:
            start += 1
        out.extend(old[at:start])
        for j, l in enumerate(hunk):
            if l.startswith("\\"):
                if out and out[-1].endswith("\n") and hunk[j - 1][0] in " +":
                    out[-1] = out[-1][:-1]
            elif l[0] in " +":
                out.append(l[1:])
        at = start + len(olds)
    out.extend(old[at:])
    return "".join(out)


def read_text(path):
    try:
        with open(path, encoding="utf-8", errors="surrogateescape") as f:
            return f.read()
    except OSError:
        return ""


def check_host(module, binary):
    """orvconfig check: never changed, failed when it found errors, its findings as data."""
    rc, out, err = module.run_command([binary, "check", "--json"])
    try:
        report = json.loads(out)
    except ValueError:
        module.fail_json(msg=(out + err).strip(), rc=rc, changed=False)
    # (a top-level "warnings" would be taken for the module's own warnings)
    result = dict(changed=False, rc=rc, role=report["role"], cluster=report["cluster"],
                  counts=dict(errors=report["errors"], warnings=report["warnings"]),
                  findings=report["findings"])
    if rc != 0:
        module.fail_json(msg="orvconfig check found errors (%d)" % report["errors"], **result)
    module.exit_json(**result)


def main():
    module = AnsibleModule(
        argument_spec=dict(
            subcommand=dict(type="str", required=True,
                            choices=["masterlist", "join", "mghost", "unsetmghost", "setbaseport",
                                     "hovhdfsport", "addresourceattr", "check"]),
            args=dict(type="list", elements="str", default=[]),
            binary=dict(type="str", default="orvconfig"),
        ),
        supports_check_mode=True,
    )
    p = module.params
    if p["subcommand"] == "check":
        check_host(module, p["binary"])
    command = [p["binary"], p["subcommand"]] + p["args"]
    if p["subcommand"] in TAKES_FORCE:
        command.append("-f")
    rc, out, err = module.run_command(command[:1] + ["--dry-run"] + command[1:],
)
    messages, report = split_report(out)
    files, dirs = parse_preview(report)
    result = dict(changed=bool(files or dirs), rc=rc, stdout=messages,
                  files=[f[0] for f in files], directories=dirs)
    if module._diff:
        result["diff"] = []
        for path, created, removed, hunks in files:
            before = "" if created else read_text(path)
            after = "" if removed else apply_hunks(before, hunks)
            result["diff"].append(dict(before_header=path, after_header=path,
                                       before=before, after=after))
    if rc != 0:
        module.fail_json(msg=(messages + err).strip(), **result)
    if module.check_mode or not result["changed"]:
        module.exit_json(**result)
    rc, out, err = module.run_command(command)
    result.update(rc=rc, stdout=out)
    if rc != 0:
        module.fail_json(msg=(out + err).strip(), **result)
    module.exit_json(**result)


if __name__ == "__main__":
    main()
