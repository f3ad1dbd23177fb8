#!/usr/bin/python
# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: vk_pdisk
short_description: Set the state, light and cache of a physical disk
description:
  - Brings a physical disk online or offline, makes a non-RAID disk ready, turns its
    locating light on or off and sets its cache policy and device write cache.
  - Reads the disk first and runs C(vkconfig) only for what differs; what the disk cannot do
    in its present state is refused by the command with its message number.
version_added: 1.0.0
author:
  - vk storage tools developers (!UNKNOWN)
extends_documentation_fragment:
  - vk.storage.vk
attributes:
  check_mode:
    support: full
    description:
      - Runs the same plan with C(vkconfig --dry-run). The settings that follow a conversion
        from non-RAID can only be checked once it is carried out; they are listed in
        C(unchecked).
  diff_mode:
    support: full
    description: Shows the disk's state, light and caches before and after.
options:
  controller:
    description: Number of the controller.
    type: int
    required: true
  disk:
    description: Identifier of the physical disk, such as C(0:0:4).
    type: str
    required: true
  state:
    description:
      - C(online) and C(offline) for a member of a virtual disk.
      - C(ready) converts a non-RAID disk to RAID; a disk that is ready already is left alone,
        and a disk in any other state is refused.
    type: str
    choices: [online, offline, ready]
  blink:
    description: Whether the disk's locating light blinks.
    type: bool
  cache_policy:
    description: The disk's cache policy.
    type: str
    choices: [enabled, disabled, default]
  write_cache:
    description: Whether the device's own write cache is enabled.
    type: bool
'''

EXAMPLES = r'''
- name: Find a disk in the rack
  vk.storage.vk_pdisk:
    controller: 0
    disk: "0:0:4"
    blink: true

- name: Take a member offline
  vk.storage.vk_pdisk:
    controller: 0
    disk: "0:0:4"
    state: offline

- name: Make a non-RAID disk usable for virtual disks, with its cache off
  vk.storage.vk_pdisk:
    controller: 1
    disk: "0:1"
    state: ready
    cache_policy: disabled
'''

RETURN = r'''
pdisk:
  description: The disk's report object after the task (in check mode, before it), with C(id).
  returned: always
  type: dict
  sample: {id: "0:0:4", ObjState: "4", Blinking: "1"}
commands:
  description: The C(vkconfig) command lines run (in check mode, planned).
  returned: always
  type: list
  elements: str
  sample: ["vkconfig storage pdisk action=blink controller=0 pdisk=0:0:4"]
requests:
  description: The requests the dry runs would send, one list per command.
  returned: in check mode
  type: list
  elements: list
  sample: [["vkacmd=setArrayDiskBlink", "GlobalNo=0", "adisk=0:0:4"]]
unchecked:
  description: In check mode, the planned command lines that could not be dry-run because they
    need the ones before them carried out.
  returned: when there are such commands
  type: list
  elements: str
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.vk.storage.plugins.module_utils.vk_cli import Step, VkCli
from ansible_collections.vk.storage.plugins.module_utils.vk_estate import (
    NON_RAID, OFFLINE, ONLINE, READY, STATE_NAMES, number, object_id, of_kind)

CACHE_POLICIES = {'enabled': 2, 'disabled': 4, 'default': 8}
# The ObjState each state option stands for, and the action that brings a disk there.
STATE_ACTIONS = {
    'online': (ONLINE, 'online'),
    'offline': (OFFLINE, 'offline'),
}


def describe(disk):
    return {
        'state': STATE_NAMES.get(number(disk, 'ObjState'), disk.get('ObjState')),
        'blink': number(disk, 'Blinking') == 1,
        'cache_policy': dict((v, k) for k, v in CACHE_POLICIES.items()).get(
            number(disk, 'diskwritecachepolicy'), disk.get('diskwritecachepolicy')),
        'write_cache': number(disk, 'WriteCache') == 1,
    }


def read_disk(cli, ctrl, disk):
    found = of_kind(cli.report('pdisk', 'controller=%d' % ctrl, 'pdisk=%s' % disk), 'pdisk')
    if not found:
        cli.module.fail_json(msg='Physical disk %s was not found on controller %d' % (disk, ctrl))
    return found[0]


def plan(module, obj):
    """Steps from the disk as it is to the wanted settings, and the settings it would then show."""
    p = module.params
    ctrl, disk = p['controller'], p['disk']
    target = ['controller=%d' % ctrl, 'pdisk=%s' % disk]
    before = describe(obj)
    after = dict(before)
    steps = []
    state = number(obj, 'ObjState')
    converted = False
    if p['state'] == 'ready' and state != READY:
        if state != NON_RAID:
            module.fail_json(msg='Physical disk %s is %s: only a non-RAID disk can be made ready'
                                 % (disk, before['state']))
        steps.append(Step(['pdisk', 'action=convertNonRAIDtoRAID'] + target))
        after['state'] = 'ready'
        converted = True
    elif p['state'] in STATE_ACTIONS:
        value, action = STATE_ACTIONS[p['state']]
        if state != value:
            steps.append(Step(['pdisk', 'action=%s' % action] + target))
            after['state'] = p['state']

    def add(words, option, value):
        # Settings after a conversion apply to the disk it makes.
        steps.append(Step(words, after_previous=converted))
        after[option] = value

    if p['blink'] is not None and p['blink'] != before['blink']:
        add(['pdisk', 'action=%s' % ('blink' if p['blink'] else 'unblink')] + target, 'blink', p['blink'])
    if p['cache_policy'] and CACHE_POLICIES[p['cache_policy']] != number(obj, 'diskwritecachepolicy'):
        add(['pdisk', 'action=setarraydiskcache'] + target + ['cache=%s' % p['cache_policy']],
            'cache_policy', p['cache_policy'])
    if p['write_cache'] is not None and p['write_cache'] != before['write_cache']:
        action = 'enabledevicewritecache' if p['write_cache'] else 'disabledevicewritecache'
        add(['pdisk', 'action=%s' % action] + target, 'write_cache', p['write_cache'])
    return steps, before, after


def main():
    module = AnsibleModule(
        argument_spec=dict(
            controller=dict(type='int', required=True),
            disk=dict(type='str', required=True),
            state=dict(type='str', choices=['online', 'offline', 'ready']),
            blink=dict(type='bool'),
            cache_policy=dict(type='str', choices=list(CACHE_POLICIES)),
            write_cache=dict(type='bool'),
            vk_bin_dir=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    cli = VkCli(module)
    ctrl, disk = module.params['controller'], module.params['disk']
    obj = read_disk(cli, ctrl, disk)
    steps, before, after = plan(module, obj)
    changed = cli.carry_out(steps)
    if changed and not module.check_mode:
        obj = read_disk(cli, ctrl, disk)
        after = describe(obj)
    result = cli.result(changed=changed, pdisk=dict(obj, id=object_id(obj)))
    if module._diff:
        result['diff'] = dict(before=before, after=after)
    module.exit_json(**result)


if __name__ == '__main__':
    main()
