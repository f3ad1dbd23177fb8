#!/usr/bin/python
# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: vk_hotspare
short_description: Assign and unassign hot spares
description:
  - Makes a physical disk a global hot spare of its controller, a dedicated hot spare of one
    virtual disk (when I(vdisk) is given), or no hot spare.
  - Reads the disk's present role first and runs C(vkconfig) only when it differs. A disk
    that is a spare of another kind or of another virtual disk is first released, then
    assigned.
version_added: 1.0.0
author:
  - vk storage tools developers (!UNKNOWN)
extends_documentation_fragment:
  - vk.storage.vk
attributes:
  check_mode:
    support: full
    description:
      - Runs the same plan with C(vkconfig --dry-run). When the disk must first be released
        from another role, only the release can be checked; the assignment that follows is
        listed in C(unchecked).
  diff_mode:
    support: full
    description: Shows the disk's hot-spare role before and after.
options:
  controller:
    description: Number of the controller.
    type: int
    required: true
  disk:
    description: Identifier of the physical disk, such as C(0:0:5).
    type: str
    required: true
  vdisk:
    description:
      - The virtual disk the spare is dedicated to, by name (or by number when no virtual
        disk has that name).
      - Without it the disk is a global hot spare (I(state=present)), or no hot spare at all
        (I(state=absent)).
    type: str
  state:
    description: Whether the disk is to be that hot spare.
    type: str
    choices: [present, absent]
    default: present
'''

EXAMPLES = r'''
- name: A global hot spare
  vk.storage.vk_hotspare:
    controller: 0
    disk: "0:0:6"

- name: A hot spare dedicated to the virtual disk named Web
  vk.storage.vk_hotspare:
    controller: 0
    disk: "0:0:5"
    vdisk: Web

- name: No longer a hot spare of Web
  vk.storage.vk_hotspare:
    controller: 0
    disk: "0:0:5"
    vdisk: Web
    state: absent

- name: No hot spare of any kind
  vk.storage.vk_hotspare:
    controller: 0
    disk: "0:0:6"
    state: absent
'''

RETURN = r'''
role:
  description: The disk's hot-spare role after the task (in check mode, before it).
  returned: always
  type: dict
  contains:
    spare:
      description: C(global), C(dedicated) or C(none).
      type: str
      returned: always
    vdisk:
      description: Number of the virtual disk a dedicated spare serves.
      type: str
      returned: when the disk is a dedicated hot spare
  sample: {spare: dedicated, vdisk: "1"}
commands:
  description: The C(vkconfig) command lines run (in check mode, planned).
  returned: always
  type: list
  elements: str
  sample: ["vkconfig storage vdisk action=assigndedicatedhotspare controller=0 vdisk=1 pdisk=0:0:5 assign=yes"]
requests:
  description: The requests the dry runs would send, one list per command.
  returned: in check mode
  type: list
  elements: list
  sample: [["vkacmd=setVDDedicatedHotSpare", "GlobalNo=0", "LogicalDriveNum=1", "adisk=0:0:5", "set=yes"]]
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
    DEDICATED_HOT_SPARE, GLOBAL_HOT_SPARE, attrs, controller_objects, disk_id,
    find_vdisk_by_name_or_number, of_kind, vdisk_disks)


def read_role(cli, ctrl, disk):
    """The disk's role: {'spare': 'global'|'dedicated'|'none'} and the virtual disk of a dedicated spare."""
    found = of_kind(cli.report('pdisk', 'controller=%d' % ctrl, 'pdisk=%s' % disk), 'pdisk')
    bits = attrs(found[0]) if found else 0
    if bits & GLOBAL_HOT_SPARE:
        return {'spare': 'global'}
    if not bits & DEDICATED_HOT_SPARE:
        return {'spare': 'none'}
    for vd in of_kind(controller_objects(cli, ctrl), 'vdisk'):
        spares = vdisk_disks(cli, ctrl, vd['LogicalDriveNum'])[1]
        if any(disk_id(d) == disk for d in spares):
            return {'spare': 'dedicated', 'vdisk': vd['LogicalDriveNum']}
    return {'spare': 'dedicated'}


def global_step(ctrl, disk, assign):
    return Step(['pdisk', 'action=assignglobalhotspare', 'controller=%d' % ctrl, 'pdisk=%s' % disk,
                 'assign=%s' % ('yes' if assign else 'no')])


def dedicated_step(ctrl, vdisk, disk, assign):
    return Step(['vdisk', 'action=assigndedicatedhotspare', 'controller=%d' % ctrl, 'vdisk=%s' % vdisk,
                 'pdisk=%s' % disk, 'assign=%s' % ('yes' if assign else 'no')])


def release(ctrl, disk, role):
    """The step that takes the disk's present role away (none when it has none)."""
    if role['spare'] == 'global':
        return [global_step(ctrl, disk, False)]
    if role['spare'] == 'dedicated' and 'vdisk' in role:
        return [dedicated_step(ctrl, role['vdisk'], disk, False)]
    return []


def plan(ctrl, disk, role, wanted):
    """Steps from the present role to the wanted one; the assignment after a release waits for it."""
    if role == wanted:
        return []
    if wanted['spare'] == 'none':
        return release(ctrl, disk, role)
    steps = release(ctrl, disk, role)
    if wanted['spare'] == 'global':
        steps.append(global_step(ctrl, disk, True))
    else:
        steps.append(dedicated_step(ctrl, wanted['vdisk'], disk, True))
    steps[-1].after_previous = len(steps) > 1
    return steps


def main():
    module = AnsibleModule(
        argument_spec=dict(
            controller=dict(type='int', required=True),
            disk=dict(type='str', required=True),
            vdisk=dict(type='str'),
            state=dict(type='str', choices=['present', 'absent'], default='present'),
            vk_bin_dir=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    p = module.params
    cli = VkCli(module)
    ctrl, disk = p['controller'], p['disk']
    role = read_role(cli, ctrl, disk)

    if p['vdisk'] is not None:
        vd = find_vdisk_by_name_or_number(controller_objects(cli, ctrl), p['vdisk'])
        if vd is None:
            module.fail_json(msg='Virtual disk %s was not found on controller %d' % (p['vdisk'], ctrl))
        dedicated = {'spare': 'dedicated', 'vdisk': vd['LogicalDriveNum']}
        if p['state'] == 'present':
            wanted = dedicated
        else:
            wanted = {'spare': 'none'} if role == dedicated else role
    else:
        wanted = {'spare': 'global' if p['state'] == 'present' else 'none'}

    steps = plan(ctrl, disk, role, wanted)
    changed = cli.carry_out(steps)
    after = read_role(cli, ctrl, disk) if changed and not module.check_mode else role
    result = cli.result(changed=changed, role=after)
    if module._diff:
        result['diff'] = dict(before=role, after=wanted if changed and module.check_mode else after)
    module.exit_json(**result)


if __name__ == '__main__':
    main()
