#!/usr/bin/python
# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: vk_vdisk
short_description: Create, change and delete virtual disks
description:
  - Makes a virtual disk, found by its controller and its name, be present with the given
    RAID level, disks, size and policies, or be absent.
  - Reads the present state first and runs C(vkconfig) only for the difference, so a second
    run of the same task changes nothing.
  - A virtual disk that exists with other policies gets them changed. One with another RAID
    level, stripe size, more disks or a larger size is refused unless I(reconfigure=true).
  - Virtual disks never shrink and never give up member disks; a smaller size or fewer disks
    than the virtual disk has is always refused.
version_added: 1.0.0
author:
  - vk storage tools developers (!UNKNOWN)
extends_documentation_fragment:
  - vk.storage.vk
attributes:
  check_mode:
    support: full
    description: Runs the same plan with C(vkconfig --dry-run), so the commands' own checks refuse
      what they would refuse for real.
  diff_mode:
    support: full
    description: Shows the virtual disk's RAID level, size, stripe size, policies and disks before
      and after.
options:
  controller:
    description: Number of the controller.
    type: int
    required: true
  name:
    description: Name of the virtual disk; it identifies the virtual disk on its controller.
    type: str
    required: true
  state:
    description: Whether the virtual disk is to exist.
    type: str
    choices: [present, absent]
    default: present
  raid:
    description:
      - RAID level, as C(vkconfig) names it. Required to create the virtual disk.
    type: str
    choices: [r0, r1, r5, r6, r10, r50, r60]
  size:
    description:
      - Size as C(vkconfig) takes it, C(max), C(min), or a number with the unit C(b), C(m) or
        C(g) (C(g) when none is given). C(max) when not given at creation.
      - For an existing virtual disk C(max) and C(min) are taken as met; a number larger than
        the present size needs I(reconfigure=true).
    type: str
  disks:
    description:
      - Identifiers of the member disks, such as C(0:0:7).
      - For an existing virtual disk, disks that are not yet members are added (with
        I(reconfigure=true)).
    type: list
    elements: str
  count:
    description:
      - Number of member disks, picked among the controller's ready disks that have no role
        (in identifier order, all of one media and protocol).
    type: int
  media:
    description: With I(count), pick only disks of this media.
    type: str
    choices: [hdd, ssd]
  protocol:
    description: With I(count), pick only disks of this bus protocol.
    type: str
    choices: [sas, sata, nvme]
  span_length:
    description: Disks per span for C(r10), C(r50) and C(r60). Cannot be changed later.
    type: int
  stripe_size:
    description: Stripe size.
    type: str
    choices: [2kb, 4kb, 8kb, 16kb, 32kb, 64kb, 128kb, 256kb, 512kb, 1mb, 2mb, 4mb, 8mb, 16mb]
  read_policy:
    description: Read policy (read cache, no read cache, read ahead, adaptive, no read ahead).
    type: str
    choices: [rc, nrc, ra, ara, nra]
  write_policy:
    description: Write policy (write cache, no write cache, write back, write through, force write back).
    type: str
    choices: [wc, nwc, wb, wt, fwb]
  cache_policy:
    description: Cache policy (direct I/O or cached I/O).
    type: str
    choices: [d, c]
  disk_cache_policy:
    description:
      - Disk cache policy. C(default) is the controller's own default; at creation it is
        what a new virtual disk gets when no policy is given.
    type: str
    choices: [unchanged, enabled, disabled, default]
  reconfigure:
    description: Allow changing the RAID level, stripe size, disks or size of an existing
      virtual disk (a reconstruction, which runs for a long time).
    type: bool
    default: false
  force:
    description: Delete with C(force=yes), for the virtual disks whose deletion asks for it.
    type: bool
    default: false
'''

EXAMPLES = r'''
- name: A RAID 5 virtual disk of three given disks
  vk.storage.vk_vdisk:
    controller: 0
    name: Web
    raid: r5
    disks: ["0:0:2", "0:0:3", "0:0:4"]
    read_policy: ra
    write_policy: wb

- name: A RAID 1 of two ready solid-state SAS disks, whichever are free
  vk.storage.vk_vdisk:
    controller: 0
    name: Logs
    raid: r1
    count: 2
    media: ssd
    protocol: sas
    size: 200g

- name: Change a policy of an existing virtual disk
  vk.storage.vk_vdisk:
    controller: 0
    name: Web
    write_policy: wt

- name: Grow a virtual disk by a fourth disk
  vk.storage.vk_vdisk:
    controller: 0
    name: Web
    raid: r5
    disks: ["0:0:2", "0:0:3", "0:0:4", "0:0:6"]
    reconfigure: true

- name: Delete a virtual disk
  vk.storage.vk_vdisk:
    controller: 0
    name: Scratch
    state: absent
'''

RETURN = r'''
vdisk:
  description:
    - The virtual disk's report object after the task, with C(id), C(members) and
      C(hotspares) (disk identifiers). Empty when it is absent.
    - In check mode, the object as it is before the task.
  returned: always
  type: dict
  sample:
    id: "1"
    Name: Web
    Layout: "64"
    members: ["0:0:2", "0:0:3", "0:0:4"]
    hotspares: []
commands:
  description: The C(vkconfig) command lines run (in check mode, planned).
  returned: always
  type: list
  elements: str
  sample: ["vkconfig storage vdisk action=changepolicy controller=0 vdisk=1 writepolicy=wt"]
requests:
  description: The requests the dry runs would send, one list per command.
  returned: in check mode
  type: list
  elements: list
  sample: [["vkacmd=setVDReconfigure", "GlobalNo=0", "LogicalDriveNum=1", "WritePolicy=8"]]
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.vk.storage.plugins.module_utils.vk_cli import Step, VkCli
from ansible_collections.vk.storage.plugins.module_utils.vk_estate import (
    LAYOUT_NAMES, RAID_LEVELS, STRIPE_SIZES, VDISK_POLICIES, MEDIA, PROTOCOLS,
    controller_objects, disk_id, find_vdisk, id_order, keyword_of, layout_is, number,
    object_id, of_kind, pick_disks, size_bytes, vdisk_disks)

# Layout keywords of a reconstruction: the creation levels and two more.
RECONFIGURE_LEVELS = dict(RAID_LEVELS, r1c=4096, c=1)


def describe(vd, members):
    """The properties of a virtual disk that the diff shows."""
    desc = {
        'name': vd.get('Name'),
        'raid': LAYOUT_NAMES.get(number(vd, 'Layout'), vd.get('Layout')),
        'size': number(vd, 'Length'),
        'stripe_size': keyword_of(STRIPE_SIZES, number(vd, 'StripeSize')),
        'disks': sorted((disk_id(d) for d in members), key=id_order),
    }
    for option, tag, table, _param in VDISK_POLICIES:
        desc[option] = keyword_of(table, number(vd, tag))
    return desc


class VdiskPlan(object):
    """The steps from the virtual disk as it is to the task's wish, with the diff's before and after."""

    def __init__(self, module):
        self.module = module
        self.p = module.params
        self.ctrl = self.p['controller']
        self.steps = []
        self.before = {}
        self.after = {}

    def fail(self, msg):
        self.module.fail_json(msg=msg)

    def check_size(self):
        if self.p['size'] is None:
            return None
        try:
            return size_bytes(self.p['size'])
        except ValueError as e:
            self.fail(str(e))

    def delete(self, vd, members):
        words = ['vdisk', 'action=deletevdisk', 'controller=%d' % self.ctrl,
                 'vdisk=%s' % vd['LogicalDriveNum']]
        if self.p['force']:
            words.append('force=yes')
        self.steps.append(Step(words))
        self.before = describe(vd, members)

    def create(self, objs):
        p = self.p
        self.check_size()
        if not p['raid']:
            self.fail('Virtual disk %s does not exist on controller %d: creating it needs raid'
                      % (p['name'], self.ctrl))
        if p['disks']:
            ids = list(p['disks'])
        elif p['count']:
            picked = pick_disks(of_kind(objs, 'pdisk'), p['count'], p['media'], p['protocol'])
            if picked is None:
                self.fail('Controller %d has not %d ready disks without a role%s to create virtual disk %s'
                          % (self.ctrl, p['count'], kind_text(p['media'], p['protocol']), p['name']))
            ids = [disk_id(d) for d in picked]
        else:
            self.fail('Virtual disk %s does not exist on controller %d: creating it needs disks or count'
                      % (p['name'], self.ctrl))
        size = p['size'] or 'max'
        words = ['controller', 'action=createvdisk', 'controller=%d' % self.ctrl,
                 'raid=%s' % p['raid'], 'size=%s' % size, 'pdisk=%s' % ','.join(ids),
                 'name=%s' % p['name']]
        if p['span_length'] is not None:
            words.append('spanlength=%d' % p['span_length'])
        if p['stripe_size']:
            words.append('stripesize=%s' % p['stripe_size'])
        for option, _tag, _table, param in VDISK_POLICIES:
            # A new virtual disk gets the controller's default disk cache
            # policy when none is given; creation takes no keyword for it.
            if p[option] and not (option == 'disk_cache_policy' and p[option] == 'default'):
                words.append('%s=%s' % (param, p[option]))
        self.steps.append(Step(words))
        self.after = dict(name=p['name'], raid=p['raid'], size=size,
                          disks=sorted(ids, key=id_order))
        for option in ['stripe_size'] + [v[0] for v in VDISK_POLICIES]:
            if p[option]:
                self.after[option] = p[option]

    def update(self, objs, vd, members):
        p = self.p
        number_words = ['controller=%d' % self.ctrl, 'vdisk=%s' % vd['LogicalDriveNum']]
        self.before = describe(vd, members)
        self.after = dict(self.before)
        member_ids = [disk_id(d) for d in members]
        differences = []
        recon = []

        layout = number(vd, 'Layout')
        raid = p['raid']
        if raid and not layout_is(raid, layout):
            differences.append('RAID level %s, not %s' % (self.before['raid'], raid))
            self.after['raid'] = raid
        else:
            raid = keyword_of(RECONFIGURE_LEVELS, layout)

        added = self.added_disks(objs, members, member_ids)
        if added:
            differences.append('disks %s are not members' % ', '.join(added))
            recon.append('pdisk=%s' % ','.join(added))
            self.after['disks'] = sorted(member_ids + added, key=id_order)

        if p['stripe_size'] and STRIPE_SIZES[p['stripe_size']] != number(vd, 'StripeSize'):
            differences.append('stripe size %s, not %s' % (self.before['stripe_size'], p['stripe_size']))
            recon.append('stripesize=%s' % p['stripe_size'])
            self.after['stripe_size'] = p['stripe_size']

        wanted = self.check_size()
        length = number(vd, 'Length')
        if wanted is not None and wanted < length:
            self.fail('Virtual disk %s is %d bytes, larger than size %s: virtual disks do not shrink'
                      % (p['name'], length, p['size']))
        if wanted is not None and wanted > length:
            differences.append('size %d bytes, not %s' % (length, p['size']))
            recon.append('size=%s' % p['size'])
            self.after['size'] = wanted

        if p['span_length'] is not None:
            spans = max(number(vd, 'SpanCount', 1), 1)
            if len(members) // spans != p['span_length']:
                self.fail('Virtual disk %s has spans of %d disks, not %d: the span length cannot be changed'
                          % (p['name'], len(members) // spans, p['span_length']))

        if differences and not p['reconfigure']:
            self.fail('Virtual disk %s on controller %d differs: %s. Set reconfigure: true to reconfigure it'
                      % (p['name'], self.ctrl, '; '.join(differences)))

        policy_words = []
        for option, tag, table, param in VDISK_POLICIES:
            if p[option] and table[p[option]] != number(vd, tag):
                policy_words.append('%s=%s' % (param, p[option]))
                self.after[option] = p[option]
        if policy_words:
            self.steps.append(Step(['vdisk', 'action=changepolicy'] + number_words + policy_words))
        if differences:
            if raid not in RECONFIGURE_LEVELS:
                self.fail('Virtual disk %s has a layout that a reconfiguration cannot name; give raid'
                          % p['name'])
            self.steps.append(Step(['vdisk', 'action=reconfigure'] + number_words + ['raid=%s' % raid] + recon))

    def added_disks(self, objs, members, member_ids):
        p = self.p
        if p['disks'] is not None:
            leaving = [m for m in member_ids if m not in p['disks']]
            if leaving:
                self.fail('Disks %s are members of virtual disk %s and cannot leave it'
                          % (', '.join(leaving), p['name']))
            return [d for d in p['disks'] if d not in member_ids]
        if p['count'] is None or p['count'] == len(members):
            return []
        if p['count'] < len(members):
            self.fail('Virtual disk %s has %d disks, more than count %d: virtual disks do not give up disks'
                      % (p['name'], len(members), p['count']))
        # New members must be of the kind of the present ones.
        media = p['media'] or keyword_of(MEDIA, number(members[0], 'MediaType'))
        protocol = p['protocol'] or keyword_of(PROTOCOLS, number(members[0], 'BusProtocol'))
        extra = p['count'] - len(members)
        picked = pick_disks(of_kind(objs, 'pdisk'), extra, media, protocol)
        if picked is None:
            self.fail('Controller %d has not %d more ready disks without a role%s for virtual disk %s'
                      % (self.ctrl, extra, kind_text(media, protocol), p['name']))
        return [disk_id(d) for d in picked]


def kind_text(media, protocol):
    words = [w for w in (media, protocol) if w]
    return ' (%s)' % ' '.join(words) if words else ''


def vdisk_item(vd, members, spares):
    """The virtual disk's object with its identifier, members and dedicated hot spares."""
    return dict(vd, id=object_id(vd), members=[disk_id(d) for d in members],
                hotspares=[disk_id(d) for d in spares])


def read_back(cli, ctrl, name):
    """The virtual disk after the change, and its diff description ({} when it is gone)."""
    vd = find_vdisk(controller_objects(cli, ctrl), name)
    if vd is None:
        return {}, {}
    members, spares = vdisk_disks(cli, ctrl, vd['LogicalDriveNum'])
    return vdisk_item(vd, members, spares), describe(vd, members)


def main():
    module = AnsibleModule(
        argument_spec=dict(
            controller=dict(type='int', required=True),
            name=dict(type='str', required=True),
            state=dict(type='str', choices=['present', 'absent'], default='present'),
            raid=dict(type='str', choices=list(RAID_LEVELS)),
            size=dict(type='str'),
            disks=dict(type='list', elements='str'),
            count=dict(type='int'),
            media=dict(type='str', choices=list(MEDIA)),
            protocol=dict(type='str', choices=list(PROTOCOLS)),
            span_length=dict(type='int'),
            stripe_size=dict(type='str', choices=list(STRIPE_SIZES)),
            read_policy=dict(type='str', choices=['rc', 'nrc', 'ra', 'ara', 'nra']),
            write_policy=dict(type='str', choices=['wc', 'nwc', 'wb', 'wt', 'fwb']),
            cache_policy=dict(type='str', choices=['d', 'c']),
            disk_cache_policy=dict(type='str', choices=['unchanged', 'enabled', 'disabled', 'default']),
            reconfigure=dict(type='bool', default=False),
            force=dict(type='bool', default=False),
            vk_bin_dir=dict(type='path'),
        ),
        mutually_exclusive=[('disks', 'count')],
        supports_check_mode=True,
    )
    cli = VkCli(module)
    plan = VdiskPlan(module)
    ctrl, name = module.params['controller'], module.params['name']
    objs = controller_objects(cli, ctrl)
    vd = find_vdisk(objs, name)
    members, spares = vdisk_disks(cli, ctrl, vd['LogicalDriveNum']) if vd else ([], [])
    if module.params['state'] == 'absent':
        if vd is not None:
            plan.delete(vd, members)
    elif vd is None:
        plan.create(objs)
    else:
        plan.update(objs, vd, members)

    changed = cli.carry_out(plan.steps)
    if changed and not module.check_mode:
        item, after = read_back(cli, ctrl, name)
    else:
        item = vdisk_item(vd, members, spares) if vd is not None else {}
        after = plan.after if changed else plan.before
        if module.check_mode and 'size' in after:
            # The dry run tells the size in bytes that max, min or a unit stand for.
            for request in cli.requests:
                for pair in request:
                    if pair.startswith('Length='):
                        after = dict(after, size=int(pair[len('Length='):]))
    result = cli.result(changed=changed, vdisk=item)
    if module._diff:
        result['diff'] = dict(before=plan.before, after=after)
    module.exit_json(**result)


if __name__ == '__main__':
    main()
