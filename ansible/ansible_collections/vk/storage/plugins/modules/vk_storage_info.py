#!/usr/bin/python
# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: vk_storage_info
short_description: Gather the storage estate of a server
description:
  - Reads the controllers of the managed host with C(vkreport) and everything attached to
    them (connectors, enclosures, physical disks, virtual disks with their members and
    dedicated hot spares, batteries) and the global information.
  - Each object is the JSON object of the reports, one key per tag (C(Name), C(ObjState),
    C(Layout), ...), with an added C(id) that is the identifier the commands take
    (C(0:0:4) for a disk, C(1) for a virtual disk).
  - The estate is also set as the host fact C(vk_storage), so later tasks can write
    C(vk_storage.controllers[0].vdisks) without registering the result.
  - Never changes anything.
version_added: 1.0.0
author:
  - vk storage tools developers (!UNKNOWN)
extends_documentation_fragment:
  - vk.storage.vk
attributes:
  check_mode:
    support: full
    description: Runs the same reports in check mode.
options:
  controllers:
    description:
      - Numbers of the controllers to read; all controllers when not given.
      - A number that is no controller fails the task with the list of valid ones.
    type: list
    elements: int
  kinds:
    description:
      - The kinds of objects to gather. Controllers are always listed; the kinds not named
        are left out (and their reports are not run).
    type: list
    elements: str
    choices: [connectors, enclosures, pdisks, vdisks, batteries, globalinfo]
    default: [connectors, enclosures, pdisks, vdisks, batteries, globalinfo]
'''

EXAMPLES = r'''
- name: Gather the estate
  vk.storage.vk_storage_info:
  register: estate

- name: Show the RAID level of the virtual disk named Web
  ansible.builtin.debug:
    msg: "{{ (estate.vk_storage.controllers[0].vdisks | selectattr('Name', 'equalto', 'Web') | first).Layout }}"

- name: Only the virtual disks of controller 0
  vk.storage.vk_storage_info:
    controllers: [0]
    kinds: [vdisks]
  register: vdisks

- name: The same through the host fact the module sets
  ansible.builtin.debug:
    msg: "{{ vk_storage.controllers[0].vdisks | map(attribute='Name') | list }}"

- name: Fail when a disk has failed
  ansible.builtin.assert:
    that: item.pdisks | selectattr('ObjState', 'equalto', '2') | list | length == 0
  loop: "{{ estate.vk_storage.controllers }}"
  loop_control:
    label: "controller {{ item.id }}"
'''

RETURN = r'''
vk_storage:
  description: The estate.
  returned: always
  type: dict
  contains:
    controllers:
      description:
        - One entry per controller, in controller order, each the controller's report object
          with C(id) and one list per kind gathered (C(connectors), C(enclosures), C(pdisks),
          C(vdisks), C(batteries)).
        - Each virtual disk carries C(members) and C(hotspares), the identifiers of its member
          disks and of its dedicated hot spares.
      returned: always
      type: list
      elements: dict
      sample:
        - id: "0"
          Name: VK RAID R16i
          GlobalNo: "0"
          ObjState: "1"
          vdisks:
            - id: "1"
              Name: Web
              Layout: "64"
              members: ["0:0:2", "0:0:3", "0:0:4"]
              hotspares: ["0:0:5"]
          pdisks:
            - id: "0:0:5"
              ObjState: "1"
              AttributesMask: "00000000000000000000010100000000"
    globalinfo:
      description: The global information object.
      returned: when C(globalinfo) is among I(kinds)
      type: dict
      sample:
        Name: Global Information
        SmartThermalShutdown: "0"
commands:
  description: The configuration commands run; always empty, the module only reads.
  returned: always
  type: list
  elements: str
  sample: []
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.vk.storage.plugins.module_utils.vk_cli import VkCli
from ansible_collections.vk.storage.plugins.module_utils.vk_estate import (
    KIND_KEYS, id_order, object_id, of_kind, controller_objects, vdisk_disks, disk_id)

KINDS = ['connectors', 'enclosures', 'pdisks', 'vdisks', 'batteries', 'globalinfo']
PER_CONTROLLER = [k for k in KINDS if k != 'globalinfo']


def with_id(obj):
    item = dict(obj)
    item['id'] = object_id(obj)
    return item


def gather_controller(cli, ctrl, kinds):
    entry = with_id(ctrl)
    wanted = [k for k in PER_CONTROLLER if k in kinds]
    if not wanted:
        return entry
    objs = controller_objects(cli, ctrl['GlobalNo'])
    for kind, key in KIND_KEYS.items():
        if key in wanted:
            entry[key] = [with_id(o) for o in of_kind(objs, kind)]
    for vd in entry.get('vdisks', []):
        members, spares = vdisk_disks(cli, ctrl['GlobalNo'], vd['LogicalDriveNum'])
        vd['members'] = [disk_id(d) for d in members]
        vd['hotspares'] = [disk_id(d) for d in spares]
    if 'pdisks' in entry:
        entry['pdisks'].sort(key=lambda d: id_order(d['id']))
    return entry


def gather(cli, controllers, kinds):
    ctrls = of_kind(cli.report('controller'), 'controller')
    if controllers is not None:
        known = set(c.get('GlobalNo') for c in ctrls)
        missing = [n for n in controllers if str(n) not in known]
        if missing:
            cli.module.fail_json(msg='Controller %s was not found. Valid controllers: %s' % (
                ', '.join(str(n) for n in missing),
                ', '.join(c.get('GlobalNo') for c in ctrls) or 'none'))
        ctrls = [c for c in ctrls if int(c.get('GlobalNo')) in controllers]
    estate = {'controllers': [gather_controller(cli, c, kinds) for c in ctrls]}
    if 'globalinfo' in kinds:
        info = of_kind(cli.report('globalinfo'), 'globalinfo')
        estate['globalinfo'] = dict(info[0]) if info else {}
    return estate


def main():
    module = AnsibleModule(
        argument_spec=dict(
            controllers=dict(type='list', elements='int'),
            kinds=dict(type='list', elements='str', choices=KINDS, default=list(KINDS)),
            vk_bin_dir=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    cli = VkCli(module)
    estate = gather(cli, module.params['controllers'], module.params['kinds'])
    module.exit_json(**cli.result(changed=False, vk_storage=estate,
                                  ansible_facts=dict(vk_storage=estate)))


if __name__ == '__main__':
    main()
