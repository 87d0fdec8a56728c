#!/usr/bin/python3
"""Follows a running balance's weight over D-Bus and prints each new weighing.

    corvane config build examples/balance-dde.json balance-dde.QX3
    corvane run --headless --port /dev/ttyUSB0 balance-dde.QX3 &
    examples/follow-weight.py                       # Corvane, COM1, Field(1)
    examples/follow-weight.py Corvane COM1 'Field(1)'

A runtime on COM1 serves the bus name org.corvane.Corvane.COM1 (for names of
letters, digits and "_" the bus name is simply org.corvane.APP.TOPIC). The
script asks once for the item's current text (Request), then prints every new
text the runtime announces (the Changed signal), until interrupted. It needs
python3-gi; `corvane dde watch Corvane COM1 'Field(1)'` does the same.
"""
import sys

from gi.repository import Gio, GLib

app, topic, item = (sys.argv[1:] + ["Corvane", "COM1", "Field(1)"][len(sys.argv) - 1:])[:3]
name = f"org.corvane.{app}.{topic}"
path, interface = "/org/corvane/Dde", "org.corvane.Dde1"

bus = Gio.bus_get_sync(Gio.BusType.SESSION)


def changed(_connection, _sender, _path, _interface, _signal, parameters):
    changed_item, text = parameters.unpack()
    if changed_item.lower() == item.lower():
        print(text, flush=True)


# Follow first, then ask, so that no weighing in between is missed.
bus.signal_subscribe(name, interface, "Changed", path, None, Gio.DBusSignalFlags.NONE, changed)
try:
    reply = bus.call_sync(name, path, interface, "Request", GLib.Variant("(s)", (item,)),
                          GLib.VariantType("(s)"), Gio.DBusCallFlags.NONE, 5000, None)
except GLib.Error as error:
    sys.exit(f"follow-weight: {name}: {error.message}")
print(reply.unpack()[0], flush=True)
try:
    GLib.MainLoop().run()
except KeyboardInterrupt:
    pass
