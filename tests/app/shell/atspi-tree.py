#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
# Prints what a screen reader hears of one application: every accessible object on screen in
# the AT-SPI tree of the process given by its id, one JSON object per line (depth, role, name,
# description, states, and text when it has any).
import json
import sys

import pyatspi


def states_of(node):
    names = []
    state_set = node.getState()
    for state, name in ((pyatspi.STATE_SHOWING, "showing"), (pyatspi.STATE_FOCUSABLE, "focusable"),
                        (pyatspi.STATE_FOCUSED, "focused"), (pyatspi.STATE_CHECKED, "checked"),
                        (pyatspi.STATE_SELECTED, "selected"), (pyatspi.STATE_ENABLED, "enabled")):
        if state_set.contains(state):
            names.append(name)
    return names


def text_of(node):
    try:
        text = node.queryText()
        return text.getText(0, text.characterCount)
    except NotImplementedError:
        return None


def walk(node, depth, out):
    states = states_of(node)
    if depth > 1 and "showing" not in states:
        return
    entry = {"depth": depth, "role": node.getRoleName(), "name": node.name or "",
             "description": node.description or "", "states": states}
    text = text_of(node)
    if text:
        entry["text"] = text
    out.append(entry)
    for index in range(node.childCount):
        child = node.getChildAtIndex(index)
        if child is not None:
            walk(child, depth + 1, out)


def main():
    pid = int(sys.argv[1])
    desktop = pyatspi.Registry.getDesktop(0)
    for application in desktop:
        if application is not None and application.get_process_id() == pid:
            nodes = []
            walk(application, 0, nodes)
            for node in nodes:
                print(json.dumps(node, ensure_ascii=False))
            return 0
    print("no accessible application with process id %d" % pid, file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
