#!/usr/bin/env python3
"""Walks through everything that the window tells assistive technology, tab by tab and mode by mode, as a screen reader does.

Arguments: the window's program, and the recordings that it is to show. Every control that can be operated must have a role and a
name; what holds a value must tell it, what is pressed must have an action and take the focus, and of the tabs one is on. Tabs and
modes are chosen by their keys.
Exits with 77 and a sentence where there is no accessibility bus to walk over.
"""
import os
import subprocess
import sys
import time

try:
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib
except (ImportError, ValueError) as error:
    print("skipped: the library of the accessibility bus is not installed:", error)
    sys.exit(77)

LIMIT = int(os.environ.get("OSTREL_WALK_LIMIT", "300"))  # seconds for what never happens: a busy machine may take its time
ROLE = Atspi.Role
STATE = Atspi.StateType
PRESSED = {ROLE.PUSH_BUTTON, ROLE.CHECK_BOX, ROLE.RADIO_BUTTON, ROLE.TOGGLE_BUTTON}
OPERATED = PRESSED | {ROLE.COMBO_BOX, ROLE.SLIDER, ROLE.TEXT, ROLE.TABLE, ROLE.TREE, ROLE.TREE_TABLE, ROLE.LIST, ROLE.SPIN_BUTTON,
                      ROLE.MENU_ITEM, ROLE.MENU}
VALUED = {ROLE.SLIDER, ROLE.PROGRESS_BAR, ROLE.SPIN_BUTTON}
TABS = {"Interleaver": ("ctrl+1", [("Interleave", "ctrl+comma"), ("De-interleave", "ctrl+period")]),
        "Poly Tools": ("ctrl+2", [("Split Poly → ISOs", "ctrl+comma"), ("Join ISOs → Poly", "ctrl+period"),
                                  ("Edit Poly", "ctrl+slash")]),
        "Stereo Validator": ("ctrl+3", [])}
faults = []


def wait_for(what, find):
    """What `find` returns as soon as that is something."""
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        try:
            found = find()
            if found:
                return found
        except GLib.Error:
            pass  # what was asked is gone: the window goes on meanwhile
        time.sleep(0.1)
    print("FAILED: never came:", what)
    sys.exit(1)


def children(node):
    node.clear_cache()
    return [child for child in (node.get_child_at_index(index) for index in range(node.get_child_count())) if child]


def walk(node, path=""):
    """Every node that is shown, with its path; of tables their first rows alone."""
    here = f"{path}/{node.get_role_name()}:{node.get_name()}"
    yield node, here
    table = node.get_role() in (ROLE.TABLE, ROLE.TREE, ROLE.TREE_TABLE, ROLE.LIST)
    for child in children(node)[:60 if table else None]:
        states = child.get_state_set()
        if states.contains(STATE.SHOWING) or child.get_role() in (ROLE.MENU_ITEM,):
            yield from walk(child, here)


def the(node, role, name):
    for each, _ in walk(node):
        if each.get_name() == name and each.get_role() in role:
            return each
    return None


def strike(keys):
    """As a person does it: the window has the focus of the display."""
    window = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Ostrel$"], capture_output=True, text=True,
                            check=False).stdout.split()
    if window:
        subprocess.run(["xdotool", "windowfocus", "--sync", window[-1], "key", keys], check=False)


def choose(top, name, keys):
    """Strikes the keys until the segment of that name is the one that is on."""
    def is_on():
        strike(keys)
        segment = the(top, PRESSED, name)
        return segment and segment.get_state_set().contains(STATE.CHECKED)

    wait_for(name, is_on)
    tabs = [each for each, _ in walk(top) if each.get_role() in PRESSED and each.get_name() in TABS]
    on = [each.get_name() for each in tabs if each.get_state_set().contains(STATE.CHECKED)]
    if len(tabs) != len(TABS) or len(on) != 1:
        faults.append(f"of the tabs {on} are on")


def check(node, path):
    role = node.get_role()
    states = node.get_state_set()
    # Qt has no role for the handle of a splitter, which takes no focus.
    if role in (ROLE.UNKNOWN, ROLE.INVALID) and states.contains(STATE.FOCUSABLE):
        faults.append(f"no role: {path}")
    if role not in OPERATED and role not in VALUED:
        return False
    if role != ROLE.MENU_ITEM and not node.get_name():
        faults.append(f"no name: {path}")
    if role in VALUED:
        value = node.get_value_iface()
        if value is None or not value.get_minimum_value() <= value.get_current_value() <= value.get_maximum_value():
            faults.append(f"no value: {path}")
    if role in PRESSED and node.get_action_iface() is None:
        faults.append(f"can't be pressed: {path}")
    takes_focus = role in PRESSED | {ROLE.COMBO_BOX, ROLE.SLIDER} and states.contains(STATE.ENABLED)
    if takes_focus and not states.contains(STATE.FOCUSABLE):
        faults.append(f"can't take the focus: {path}")
    return True


def check_all(window, where):
    count = 0
    for node, path in list(walk(window)):
        try:
            count += check(node, path)
        except GLib.Error:
            pass  # gone while it was asked
    print(f"{where}: {count} controls")
    if count < 15:
        faults.append(f"{where} tells of {count} controls only")


def main():
    program, recordings = sys.argv[1:3]
    Atspi.init()
    app = subprocess.Popen([program, "--tab", "interleaver", recordings + "/pairs"],
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        def window():
            desktop = Atspi.get_desktop(0)
            for each in children(desktop):
                if each.get_process_id() == app.pid and each.get_child_count():
                    return each.get_child_at_index(0)
            return None

        top = wait_for("the window on the accessibility bus", window)
        for tab, (keys, modes) in TABS.items():
            choose(top, tab, keys)
            for mode, mode_keys in modes or [("", "")]:
                if mode:
                    choose(top, mode, mode_keys)
                check_all(top, f"{tab} {mode}".strip())
    finally:
        app.terminate()
        app.wait(60)
    for fault in sorted(set(faults)):
        print("FAILED:", fault)
    return 1 if faults else 0


sys.exit(main())
