# -*- coding: utf-8 -*-
"""Stand-ins for AnsibleModule and for the programs, shared by the unit tests."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json


class Failed(Exception):
    """fail_json was called; `result` holds what the task would report."""

    def __init__(self, result):
        Exception.__init__(self, result.get('msg'))
        self.result = result


class FakeModule(object):
    """Enough of AnsibleModule for the plans: params, check mode, fail_json, run_command.

    `answers` maps a command line (the words after the program's path, as one
    string) to (rc, answer dict); any other line answers an empty success.
    """

    def __init__(self, params=None, check_mode=False, answers=None):
        self.params = dict(vk_bin_dir=None)
        self.params.update(params or {})
        self.check_mode = check_mode
        self._diff = False
        self.answers = answers or {}
        self.ran = []

    def fail_json(self, **result):
        raise Failed(result)

    def get_bin_path(self, name):
        return '/opt/vk/bin/' + name

    def run_command(self, argv):
        line = ' '.join([argv[0].rsplit('/', 1)[-1]] + argv[2:])
        self.ran.append(line)
        rc, answer = self.answers.get(line, (0, {'status': 'ok', 'text': '', 'objects': []}))
        return rc, json.dumps(answer) if isinstance(answer, dict) else answer, ''


def mask(bits):
    return format(bits, '032b')


def pdisk(ident, state=1, attrs=0x400, media=1, protocol=8, length=2 * 1024 ** 4, **tags):
    """A disk object as the reports answer it."""
    parts = ident.split(':')
    obj = {'ObjType': 'pdisk', 'GlobalNo': '0', 'Channel': parts[0], 'TargetID': parts[-1],
           'ObjState': str(state), 'AttributesMask': mask(attrs), 'MediaType': str(media),
           'BusProtocol': str(protocol), 'Length': str(length), 'diskwritecachepolicy': '8',
           'WriteCache': '0'}
    if len(parts) == 3:
        obj['EnclosureID'] = parts[1]
    obj.update(dict((k, str(v)) for k, v in tags.items()))
    return obj


def vdisk(number, name, layout=64, length=4 * 1024 ** 4, **tags):
    obj = {'ObjType': 'vdisk', 'GlobalNo': '0', 'LogicalDriveNum': str(number), 'Name': name,
           'Layout': str(layout), 'Length': str(length), 'StripeSize': '128', 'ReadPolicy': '4',
           'WritePolicy': '4', 'CachePolicy': '1', 'DiskCachePolicy': '8', 'SpanCount': '1'}
    obj.update(dict((k, str(v)) for k, v in tags.items()))
    return obj


def answer(objs):
    return (0, {'status': 'ok', 'text': '', 'objects': objs})
