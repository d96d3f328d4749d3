#!/usr/bin/python3
"""A keyring service of our own on the session bus (org.freedesktop.secrets),
for what gnome-keyring cannot be made to do. It holds ITEMS unlocked form
passwords, for www.site1.com ... www.siteITEMS.com, and in MODE:
  answer      answers every search and every item's attributes;
  search      never answers a search;
  attributes  answers the search, then the attributes of every item but the
              last, which it never answers.
Unanswered calls stay pending until the service is ended.

    fake_keyring.py MODE ITEMS
"""
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SERVICE = "org.freedesktop.Secret.Service"
COLLECTION = "/org/freedesktop/secrets/collection/login"

mode, count = sys.argv[1], int(sys.argv[2])
pending = []  # replies never sent keep their calls waiting


class Service(dbus.service.Object):
    @dbus.service.method(SERVICE, in_signature="a{ss}", out_signature="aoao", async_callbacks=("reply", "error"))
    def SearchItems(self, attributes, reply, error):
        if mode == "search":
            pending.append(reply)
            return
        reply([dbus.ObjectPath("%s/%d" % (COLLECTION, item)) for item in range(1, count + 1)],
              dbus.Array([], signature="o"))


class Items(dbus.service.FallbackObject):
    @dbus.service.method(dbus.PROPERTIES_IFACE, in_signature="ss", out_signature="v", rel_path_keyword="item",
                         async_callbacks=("reply", "error"))
    def Get(self, interface, name, reply, error, item):
        number = int(item.lstrip("/"))
        if mode == "attributes" and number == count:
            pending.append(reply)
            return
        reply(dbus.Dictionary({"xdg:schema": "org.gnome.keyring.NetworkPassword", "authtype": "form",
                               "server": "www.site%d.com" % number}, signature="ss"))


DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
objects = [Service(bus, "/org/freedesktop/secrets"), Items(bus, COLLECTION)]
name = dbus.service.BusName("org.freedesktop.secrets", bus)
GLib.MainLoop().run()
