# -*- coding: utf-8 -*-
"""The storage estate as the modules see it: keyword maps, identifiers and readers.

Objects are the dicts of the reports' JSON answers; only their raw tags
("ObjState", "Layout", "AttributesMask", ...) are read, and keys that are not
known here are left alone, so answers that carry more keys read the same.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re

# Keywords of vkconfig and the values the objects carry for them.
RAID_LEVELS = {'r0': 2, 'r1': 4, 'r5': 64, 'r6': 128, 'r10': 512, 'r50': 2048, 'r60': 262144}
# Some controllers build a RAID 10 request as RAID 1 concatenated or RAID 1E;
# such a virtual disk still is the RAID 10 the playbook asked for.
RAID_EQUIVALENTS = {'r10': (512, 4096, 524288)}
LAYOUT_NAMES = dict((v, k) for k, v in RAID_LEVELS.items())
LAYOUT_NAMES.update({1: 'concatenation', 4096: 'r1c', 524288: 'r1e'})

STRIPE_SIZES = {'2kb': 4, '4kb': 8, '8kb': 16, '16kb': 32, '32kb': 64, '64kb': 128, '128kb': 256,
                '256kb': 512, '512kb': 1024, '1mb': 2048, '2mb': 4096, '4mb': 8192,
                '8mb': 16384, '16mb': 32768}
READ_POLICIES = {'rc': 1, 'nrc': 2, 'ra': 4, 'ara': 8, 'nra': 16}
WRITE_POLICIES = {'wc': 1, 'nwc': 2, 'wb': 4, 'wt': 8, 'fwb': 32}
CACHE_POLICIES = {'d': 1, 'c': 2}
DISK_CACHE_POLICIES = {'unchanged': 1, 'enabled': 2, 'disabled': 4, 'default': 8}

# Virtual-disk policies: module option, object tag, keyword map, vkconfig parameter.
VDISK_POLICIES = (
    ('read_policy', 'ReadPolicy', READ_POLICIES, 'readpolicy'),
    ('write_policy', 'WritePolicy', WRITE_POLICIES, 'writepolicy'),
    ('cache_policy', 'CachePolicy', CACHE_POLICIES, 'cachepolicy'),
    ('disk_cache_policy', 'DiskCachePolicy', DISK_CACHE_POLICIES, 'diskcachepolicy'),
)

MEDIA = {'hdd': 1, 'ssd': 2}
PROTOCOLS = {'sata': 7, 'sas': 8, 'nvme': 9}

# ObjState values.
READY = 1
FAILED = 2
ONLINE = 4
OFFLINE = 8
NON_RAID = 128
STATE_NAMES = {1: 'ready', 2: 'failed', 4: 'online', 8: 'offline', 16: 'degraded', 32: 'rebuilding',
               64: 'removed', 128: 'non-RAID', 256: 'foreign', 1024: 'learning'}

# Disk AttributesMask bits.
GLOBAL_HOT_SPARE = 0x1
MEMBER = 0x2
LEFT_OUT = 0x80
DEDICATED_HOT_SPARE = 0x100
CACHECADE_MEMBER = 0x800
# A disk with any of these has a role and cannot join a new virtual disk.
ROLE_BITS = GLOBAL_HOT_SPARE | MEMBER | LEFT_OUT | DEDICATED_HOT_SPARE | CACHECADE_MEMBER

# The list of a controller's entry in vk_storage that holds each kind of object.
KIND_KEYS = {'connector': 'connectors', 'enclosure': 'enclosures', 'pdisk': 'pdisks',
             'vdisk': 'vdisks', 'battery': 'batteries'}

_SIZE = re.compile(r'^\s*(\d+)\s*([bmg]?)\s*$', re.IGNORECASE)
_UNITS = {'b': 1, 'm': 1024 ** 2, 'g': 1024 ** 3, '': 1024 ** 3}


def number(obj, tag, default=0):
    """A numeric tag; a mask string of 0 and 1 (32 characters) is read as binary."""
    value = obj.get(tag)
    if value is None or value == '':
        return default
    text = str(value)
    if len(text) == 32 and set(text) <= set('01'):
        return int(text, 2)
    try:
        return int(text)
    except ValueError:
        return default


def attrs(obj):
    return number(obj, 'AttributesMask')


def disk_id(obj):
    """The identifier users type for a disk: channel:target, or channel:enclosure:target."""
    parts = [obj.get('Channel')]
    if obj.get('EnclosureID') not in (None, ''):
        parts.append(obj.get('EnclosureID'))
    parts.append(obj.get('TargetID'))
    return ':'.join(str(p) for p in parts)


def id_order(text):
    """Sort key of a disk or enclosure identifier: numerically, part by part."""
    return tuple(int(p) if p.isdigit() else 0 for p in str(text).split(':'))


def object_id(obj):
    """The identifier of an object as the commands take it (controller=0, pdisk=0:0:4, vdisk=1, ...)."""
    kind = obj.get('ObjType')
    if kind == 'controller':
        return obj.get('GlobalNo')
    if kind == 'pdisk':
        return disk_id(obj)
    if kind == 'vdisk':
        return obj.get('LogicalDriveNum')
    if kind == 'battery':
        return obj.get('BatteryID')
    if kind == 'connector':
        return obj.get('Channel')
    if kind == 'enclosure':
        if obj.get('EnclosureID') not in (None, ''):
            return '%s:%s' % (obj.get('Channel'), obj.get('EnclosureID'))
        return obj.get('Channel')
    return None


def layout_is(raid, layout):
    """Whether the Layout value of a virtual disk is the RAID level keyword."""
    return layout in RAID_EQUIVALENTS.get(raid, (RAID_LEVELS.get(raid),))


def keyword_of(table, value):
    for keyword, bit in table.items():
        if bit == value:
            return keyword
    return str(value)


def size_bytes(text):
    """Bytes of a size as vkconfig takes it (a number with b, m or g; g when none), None for max and min.

    Raises ValueError for anything else, so the module can refuse it before
    any command runs.
    """
    text = str(text).strip()
    if text.lower() in ('max', 'min'):
        return None
    m = _SIZE.match(text)
    if not m:
        raise ValueError("size '%s' is not max, min or a number with an optional unit b, m or g" % text)
    return int(m.group(1)) * _UNITS[m.group(2).lower()]


def is_free(disk):
    """A ready disk without a role: it may join a new virtual disk or become a hot spare."""
    return number(disk, 'ObjState') == READY and not attrs(disk) & ROLE_BITS


def pick_disks(disks, count, media=None, protocol=None):
    """`count` free disks of one media and protocol, in identifier order, or None when there are not enough.

    Without media or protocol the first kind (in identifier order) that has
    enough free disks is taken, so a virtual disk never mixes kinds.
    """
    free = sorted((d for d in disks if is_free(d)), key=lambda d: id_order(disk_id(d)))
    if media:
        free = [d for d in free if number(d, 'MediaType') == MEDIA[media]]
    if protocol:
        free = [d for d in free if number(d, 'BusProtocol') == PROTOCOLS[protocol]]
    groups = {}
    order = []
    for d in free:
        kind = (number(d, 'MediaType'), number(d, 'BusProtocol'))
        if kind not in groups:
            groups[kind] = []
            order.append(kind)
        groups[kind].append(d)
    for kind in order:
        if len(groups[kind]) >= count:
            return groups[kind][:count]
    return None


def of_kind(objs, kind):
    return [o for o in objs if o.get('ObjType') == kind]


def controller_objects(cli, controller):
    """Everything attached to one controller: the controller first, then its batteries, connectors, disks, ..."""
    return cli.report('controller', 'controller=%s' % controller)


def vdisk_disks(cli, controller, vdisk):
    """The members and the dedicated hot spares of a virtual disk, as two lists of disk objects."""
    disks = of_kind(cli.report('pdisk', 'controller=%s' % controller, 'vdisk=%s' % vdisk), 'pdisk')
    spares = [d for d in disks if attrs(d) & DEDICATED_HOT_SPARE]
    members = [d for d in disks if not attrs(d) & DEDICATED_HOT_SPARE]
    return members, spares


def find_vdisk(objs, name):
    for vd in of_kind(objs, 'vdisk'):
        if vd.get('Name') == name:
            return vd
    return None


def find_vdisk_by_name_or_number(objs, text):
    """A virtual disk named `text`; failing that, the one numbered `text`."""
    found = find_vdisk(objs, text)
    if found is None and str(text).isdigit():
        for vd in of_kind(objs, 'vdisk'):
            if vd.get('LogicalDriveNum') == str(text):
                return vd
    return found
