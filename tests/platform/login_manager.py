"""A system bus of its own, with a login manager on it, for a test that talks to it by its standard input.

Prints the bus's address, then runs each line that it reads, in the names below, and answers with the monotonic time
in nanoseconds from just before it ran, or with what was wrong. Ends with its input.
"""

import atexit
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

import dbus
import dbus.lowlevel
import dbusmock

MANAGER = "org.freedesktop.login1"
ROOT = "/org/freedesktop/login1"
SEAT = ROOT + "/seat/seat0"
CONFIG = """<busconfig><listen>unix:path={}/bus</listen><auth>EXTERNAL</auth><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>"""

folder = tempfile.TemporaryDirectory(prefix="tessel-bus-")
os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={folder.name}/bus"
pathlib.Path(folder.name, "config").write_text(CONFIG.format(folder.name), encoding="utf-8")
bus = manager = root = None


def start_bus():
    global bus
    stop_bus()
    bus = subprocess.Popen(["dbus-daemon", "--nofork", "--print-address", f"--config-file={folder.name}/config"],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    bus.stdout.readline()


def stop_bus():
    stop_manager()
    if bus:
        bus.kill()
        bus.wait()
    pathlib.Path(folder.name, "bus").unlink(missing_ok=True)


def start_manager(session="2"):
    """One with that session of this user, at the console; None is none."""
    global manager, root
    manager, root = dbusmock.DBusTestCase.spawn_server_template("logind", stdout=subprocess.DEVNULL)
    method("GetUser", "u", "o", f"ret = '{ROOT}/user/%d' % args[0]")
    if session:
        add_session(session)
    else:
        of_process(None)


def stop_manager():
    global manager
    if manager:
        manager.kill()
        manager.wait()
    manager = None


def method(name, takes, gives, code):
    root.AddMethod(MANAGER + ".Manager", name, takes, gives, code, dbus_interface=dbusmock.MOCK_IFACE)


def at(path):
    return dbus.Interface(dbusmock.DBusTestCase.get_dbus(True).get_object(MANAGER, path), dbusmock.MOCK_IFACE)


def path_of(session):
    return f"{ROOT}/session/{session}"


def add_session(session):
    root.AddSession(session, "seat0", os.getuid(), "user", True, dbus_interface=dbusmock.MOCK_IFACE)
    of_process(session)


def of_process(session):
    """The session that the test belongs to."""
    method("GetSessionByPID", "u", "o", f"ret = '{path_of(session)}'" if session else
           "raise dbus.exceptions.DBusException('none', name='org.freedesktop.login1.NoSessionForPID')")


def unlock_when_asked():
    """Once the manager is asked for the session, which takes it a moment, that is unlocked and no signal tells."""
    method("GetSessionByPID", "u", "o", f"""import time
time.sleep(0.3)
objects['{path_of('2')}'].props['{MANAGER}.Session']['LockedHint'] = False
ret = '{path_of('2')}'""")


def announce(signal_name, session):
    root.EmitSignal(MANAGER + ".Manager", signal_name, "so", [session, dbus.ObjectPath(path_of(session))],
                    dbus_interface=dbusmock.MOCK_IFACE)


def locks(name, session="2"):
    """The signal Lock or Unlock."""
    at(path_of(session)).EmitSignal(MANAGER + ".Session", name, "", dbus.Array([], signature="v"))


def says(session="2", **properties):
    at(path_of(session)).UpdateProperties(MANAGER + ".Session", properties)


def refer(path, interface, name, session):
    """Sets the property to a session, or to none, and tells that it is no longer what it was."""
    reference = dbus.Struct((session, dbus.ObjectPath(path_of(session) if session else "/")), signature="so")
    dbus.Interface(at(path), dbus.PROPERTIES_IFACE).Set(interface, name, reference)
    at(path).EmitSignal(dbus.PROPERTIES_IFACE, "PropertiesChanged", "sa{sv}as",
                        [interface, dbus.Dictionary({}, signature="sv"), dbus.Array([name], signature="s")])


def console(session):
    refer(SEAT, MANAGER + ".Seat", "ActiveSession", session)


def display(session):
    """Of the user, for a process without a session."""
    refer(f"{ROOT}/user/{os.getuid()}", MANAGER + ".User", "Display", session)


def change(*unknown, **properties):
    """What the signal tells of a change: the values that there are now, and the names of others."""
    return [MANAGER + ".Session", dbus.Dictionary(properties, signature="sv"), dbus.Array(unknown, signature="s")]


def forge(path, interface, name, *values):
    """A signal to each connection, from somebody who is not the manager."""
    connection = dbusmock.DBusTestCase.get_dbus(True)
    for receiver in connection.list_names():
        message = dbus.lowlevel.SignalMessage(path, interface, name)
        message.set_destination(receiver)
        if values:
            message.append(*values)
        connection.send_message(message)
    connection.flush()
    connection.name_has_owner(MANAGER)  # behind all of them


atexit.register(stop_bus)
print(os.environ["DBUS_SYSTEM_BUS_ADDRESS"], flush=True)
for line in sys.stdin:
    begin = time.monotonic_ns()
    try:
        exec(line)  # pylint: disable=exec-used
        print(begin, flush=True)
    except Exception as wrong:  # pylint: disable=broad-except
        print(f"{line.strip()}: {wrong!r}", flush=True)
