#!/usr/bin/python
# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: vk_controller
short_description: Set the rates, properties, alarm and patrol read mode of a controller
description:
  - Sets a controller's task rates, its properties, its alarm and its patrol read mode.
  - Reads the controller first and sends only what differs, in one property change for the
    rates and properties; a second run of the same task changes nothing.
version_added: 1.0.0
author:
  - vk storage tools developers (!UNKNOWN)
extends_documentation_fragment:
  - vk.storage.vk
attributes:
  check_mode:
    support: full
    description: Runs the same plan with C(vkconfig --dry-run).
  diff_mode:
    support: full
    description: Shows the settings named in the task before and after.
options:
  controller:
    description: Number of the controller.
    type: int
    required: true
  rebuild_rate:
    description: Rebuild rate, in percent.
    type: int
  bgi_rate:
    description: Background initialization rate, in percent.
    type: int
  check_consistency_rate:
    description: Check consistency rate, in percent.
    type: int
  reconstruct_rate:
    description: Reconstruct rate, in percent.
    type: int
  abort_check_consistency_on_error:
    description: Whether a check consistency stops at the first error.
    type: bool
  revertible_hot_spare:
    description:
      - Whether hot spares are revertible (data copied back to a replaced disk) and members
        can be replaced. Disabling it also disables I(auto_replace_member_on_predictive_failure).
    type: bool
  auto_replace_member_on_predictive_failure:
    description: Whether a member that predicts its failure is replaced at once; needs
      revertible hot spares.
    type: bool
  persistent_hot_spare:
    description: Whether a slot keeps its hot-spare role when its disk is replaced.
    type: bool
  load_balance:
    description: Load balancing over redundant paths.
    type: str
    choices: [auto, disabled]
  nonraid_disk_cache_policy:
    description: Write cache policy of non-RAID disks.
    type: str
    choices: [unchanged, enabled, disabled]
  alarm:
    description: The controller's alarm; C(quiet) silences a sounding alarm.
    type: str
    choices: [enabled, disabled, quiet]
  patrol_read_mode:
    description: Patrol read mode.
    type: str
    choices: [auto, manual, disable]
'''

EXAMPLES = r'''
- name: Faster rebuilds, revertible hot spares
  vk.storage.vk_controller:
    controller: 0
    rebuild_rate: 60
    revertible_hot_spare: true

- name: Patrol reads only when started by hand, alarm on
  vk.storage.vk_controller:
    controller: 0
    patrol_read_mode: manual
    alarm: enabled
'''

RETURN = r'''
controller:
  description: The controller's report object after the task (in check mode, before it), with C(id).
  returned: always
  type: dict
  sample: {id: "0", RebuildRate: "60", PatrolReadMode: "2"}
commands:
  description: The C(vkconfig) command lines run (in check mode, planned).
  returned: always
  type: list
  elements: str
  sample: ["vkconfig storage controller action=setchangecontrollerproperties controller=0 rebuildrate=60"]
requests:
  description: The requests the dry runs would send, one list per command.
  returned: in check mode
  type: list
  elements: list
  sample: [["vkacmd=setCntrlChangeProperties", "GlobalNo=0", "RebuildRate=60"]]
unchecked:
  description: In check mode, the planned command lines that could not be dry-run because they
    need the ones before them carried out.
  returned: when there are such commands
  type: list
  elements: str
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.vk.storage.plugins.module_utils.vk_cli import Step, VkCli
from ansible_collections.vk.storage.plugins.module_utils.vk_estate import object_id, of_kind

RATES = (
    # option                  tag                     property of vkconfig
    ('rebuild_rate', 'RebuildRate', 'rebuildrate'),
    ('bgi_rate', 'BGIRate', 'bgirate'),
    ('check_consistency_rate', 'CheckConsistencyRate', 'checkconsistencyrate'),
    ('reconstruct_rate', 'ReconstructRate', 'reconstructrate'),
)

# Properties of setchangecontrollerproperties: option, tag, property of vkconfig,
# and per option value the tag's value and the keyword that sets it.
PROPERTIES = (
    ('abort_check_consistency_on_error', 'AbortCheckConsistencyOnError', 'AbortCheckConsistencyOnError',
     {True: ('1', 'enabled'), False: ('0', 'disabled')}),
    ('revertible_hot_spare', 'Copyback', 'AllowRevertibleHotSpareandReplaceMember',
     {True: ('0', 'enabled'), False: ('1', 'disabled')}),
    ('auto_replace_member_on_predictive_failure', 'AutoCopybackOnPredictiveFailure',
     'AutoReplaceMemberOnPredictiveFailure', {True: ('1', 'enabled'), False: ('0', 'disabled')}),
    ('persistent_hot_spare', 'PersistentHotSlot', 'PersistentHotSpare',
     {True: ('1', 'enabled'), False: ('0', 'disabled')}),
    ('load_balance', 'Loadbalance', 'Loadbalance',
     {'auto': ('0', 'auto'), 'disabled': ('1', 'disabled')}),
    ('nonraid_disk_cache_policy', 'NonRAIDDiskCachePolicy', 'nrdiskcachepolicy',
     {'unchanged': ('0', 'unchanged'), 'enabled': ('1', 'enabled'), 'disabled': ('2', 'disabled')}),
)

# Settings with actions of their own: (option, value) -> tag, its value once set, action words.
ACTIONS = {
    ('patrol_read_mode', 'auto'): ('PatrolReadMode', '1', ['action=setpatrolreadmode', 'mode=auto']),
    ('patrol_read_mode', 'manual'): ('PatrolReadMode', '2', ['action=setpatrolreadmode', 'mode=manual']),
    ('patrol_read_mode', 'disable'): ('PatrolReadMode', '4', ['action=setpatrolreadmode', 'mode=disable']),
    ('alarm', 'enabled'): ('AlarmState', '1', ['action=enablealarm']),
    ('alarm', 'disabled'): ('AlarmState', '0', ['action=disablealarm']),
    ('alarm', 'quiet'): ('AlarmQuieted', '1', ['action=quietalarm']),
}
PATROL_READ_MODES = {'1': 'auto', '2': 'manual', '4': 'disable'}


def current(ctrl, tag):
    value = ctrl.get(tag)
    return '0' if value in (None, '') else str(value)


def alarm_of(ctrl):
    if current(ctrl, 'AlarmState') != '1':
        return 'disabled'
    return 'quiet' if current(ctrl, 'AlarmQuieted') == '1' else 'enabled'


def describe(ctrl, params):
    """The settings the task names, as the options spell them."""
    desc = {}
    for option, tag, _prop in RATES:
        if params[option] is not None:
            desc[option] = int(current(ctrl, tag))
    for option, tag, _prop, table in PROPERTIES:
        if params[option] is not None:
            value = current(ctrl, tag)
            desc[option] = next((k for k, (v, _kw) in table.items() if v == value), value)
    if params['patrol_read_mode'] is not None:
        value = current(ctrl, 'PatrolReadMode')
        desc['patrol_read_mode'] = PATROL_READ_MODES.get(value, value)
    if params['alarm'] is not None:
        desc['alarm'] = alarm_of(ctrl)
    return desc


def plan(params, ctrl):
    target = ['controller=%d' % params['controller']]
    props = []
    later = []
    for option, tag, prop in RATES:
        value = params[option]
        if value is not None and str(value) != current(ctrl, tag):
            props.append('%s=%d' % (prop, value))
    enabling_revertible = params['revertible_hot_spare'] and current(ctrl, 'Copyback') != '0'
    for option, tag, prop, table in PROPERTIES:
        value = params[option]
        if value is not None and table[value][0] != current(ctrl, tag):
            # Auto replace can only be enabled once revertible hot spares are.
            waits = option == 'auto_replace_member_on_predictive_failure' and value and enabling_revertible
            (later if waits else props).append('%s=%s' % (prop, table[value][1]))
    steps = []
    if props:
        steps.append(Step(['controller', 'action=setchangecontrollerproperties'] + target + props))
    if later:
        steps.append(Step(['controller', 'action=setchangecontrollerproperties'] + target + later,
                          after_previous=bool(props)))
    for option in ('patrol_read_mode', 'alarm'):
        if params[option] is not None:
            tag, value, words = ACTIONS[(option, params[option])]
            if current(ctrl, tag) != value:
                steps.append(Step(['controller'] + words + target))
    return steps


def read_controller(cli, number):
    return of_kind(cli.report('controller', 'controller=%d' % number), 'controller')[0]


def main():
    module = AnsibleModule(
        argument_spec=dict(
            controller=dict(type='int', required=True),
            rebuild_rate=dict(type='int'),
            bgi_rate=dict(type='int'),
            check_consistency_rate=dict(type='int'),
            reconstruct_rate=dict(type='int'),
            abort_check_consistency_on_error=dict(type='bool'),
            revertible_hot_spare=dict(type='bool'),
            auto_replace_member_on_predictive_failure=dict(type='bool'),
            persistent_hot_spare=dict(type='bool'),
            load_balance=dict(type='str', choices=['auto', 'disabled']),
            nonraid_disk_cache_policy=dict(type='str', choices=['unchanged', 'enabled', 'disabled']),
            alarm=dict(type='str', choices=['enabled', 'disabled', 'quiet']),
            patrol_read_mode=dict(type='str', choices=['auto', 'manual', 'disable']),
            vk_bin_dir=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    p = module.params
    for option, _tag, _prop in RATES:
        if p[option] is not None and not 0 <= p[option] <= 100:
            module.fail_json(msg='%s is %d: a rate is from 0 to 100' % (option, p[option]))
    cli = VkCli(module)
    ctrl = read_controller(cli, p['controller'])
    before = describe(ctrl, p)
    steps = plan(p, ctrl)
    changed = cli.carry_out(steps)
    after = before
    if changed:
        after = dict((k, p[k]) for k in before)
        if not module.check_mode:
            ctrl = read_controller(cli, p['controller'])
            after = describe(ctrl, p)
    result = cli.result(changed=changed, controller=dict(ctrl, id=object_id(ctrl)))
    if module._diff:
        result['diff'] = dict(before=before, after=after)
    module.exit_json(**result)


if __name__ == '__main__':
    main()
