# -*- coding: utf-8 -*-
"""What each module decides to send for a given estate and task."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import pytest

from ansible_collections.vk.storage.plugins.module_utils.vk_cli import VkCli, command_text
from ansible_collections.vk.storage.plugins.modules import (
    vk_command, vk_controller, vk_hotspare, vk_pdisk, vk_storage_info, vk_vdisk)
from ansible_collections.vk.storage.tests.unit.fakes import (
    Failed, FakeModule, answer, pdisk, vdisk)

# Controller 0: virtual disk Web (RAID 5 of 0:0:2-0:0:4), a global hot spare
# 0:0:5, free HDD SAS disks 0:0:6 and 0:0:7, free SSD SAS disks 0:0:8 and 0:0:9.
WEB = vdisk(1, 'Web', layout=64, length=4 * 1024 ** 4)
MEMBERS = [pdisk('0:0:%d' % n, state=4, attrs=0x402) for n in (2, 3, 4)]
ESTATE = [WEB] + MEMBERS + [
    pdisk('0:0:5', attrs=0x401), pdisk('0:0:6'), pdisk('0:0:7'),
    pdisk('0:0:8', media=2), pdisk('0:0:9', media=2)]

VDISK_OPTIONS = dict(controller=0, name='Web', state='present', raid=None, size=None, disks=None,
                     count=None, media=None, protocol=None, span_length=None, stripe_size=None,
                     read_policy=None, write_policy=None, cache_policy=None,
                     disk_cache_policy=None, reconfigure=False, force=False)


def vdisk_plan(objs, **params):
    module = FakeModule(dict(VDISK_OPTIONS, **params))
    plan = vk_vdisk.VdiskPlan(module)
    vd = vk_vdisk.find_vdisk(objs, module.params['name'])
    members = MEMBERS if vd is WEB else []
    try:
        if module.params['state'] == 'absent':
            if vd is not None:
                plan.delete(vd, members)
        elif vd is None:
            plan.create(objs)
        else:
            plan.update(objs, vd, members)
    except Failed as failed:
        return failed.result['msg']
    return [command_text(s.words) for s in plan.steps]


CREATE = 'vkconfig storage controller action=createvdisk controller=0 '
RECONFIGURE = 'vkconfig storage vdisk action=reconfigure controller=0 vdisk=1 '


@pytest.mark.parametrize('params, expected', [
    # creation
    (dict(name='Db', raid='r1', disks=['0:0:6', '0:0:7'], read_policy='nra', disk_cache_policy='default'),
     [CREATE + 'raid=r1 size=max pdisk=0:0:6,0:0:7 name=Db readpolicy=nra']),
    (dict(name='Db', raid='r1', count=2, media='ssd', size='200g', stripe_size='256kb'),
     [CREATE + 'raid=r1 size=200g pdisk=0:0:8,0:0:9 name=Db stripesize=256kb']),
    (dict(name='Db', raid='r10', count=4, span_length=2),
     "Controller 0 has not 4 ready disks without a role to create virtual disk Db"),
    (dict(name='Db', disks=['0:0:6', '0:0:7']), 'Virtual disk Db does not exist on controller 0: creating it needs raid'),
    (dict(name='Db', raid='r1'), 'creating it needs disks or count'),
    (dict(name='Db', raid='r1', count=2, size='2t'), "size '2t' is not max, min or a number"),
    # present as asked
    (dict(raid='r5', disks=['0:0:4', '0:0:2', '0:0:3'], size='max', read_policy='ra', stripe_size='64kb'), []),
    (dict(raid='r5', count=3, size='4096g'), []),
    # policies change alone, only those that differ
    (dict(read_policy='ra', write_policy='wt', cache_policy='c', disk_cache_policy='default'),
     ['vkconfig storage vdisk action=changepolicy controller=0 vdisk=1 writepolicy=wt cachepolicy=c']),
    # layout, disks, stripe size and size need reconfigure
    (dict(raid='r6', disks=['0:0:2', '0:0:3', '0:0:4', '0:0:6']),
     'Virtual disk Web on controller 0 differs: RAID level r5, not r6; disks 0:0:6 are not members. '
     'Set reconfigure: true to reconfigure it'),
    (dict(raid='r6', disks=['0:0:2', '0:0:3', '0:0:4', '0:0:6'], reconfigure=True, write_policy='wt'),
     ['vkconfig storage vdisk action=changepolicy controller=0 vdisk=1 writepolicy=wt',
      RECONFIGURE + 'raid=r6 pdisk=0:0:6']),
    (dict(count=4, reconfigure=True), [RECONFIGURE + 'raid=r5 pdisk=0:0:6']),
    (dict(size='5000g', stripe_size='128kb', reconfigure=True),
     [RECONFIGURE + 'raid=r5 stripesize=128kb size=5000g']),
    # never smaller, never fewer disks
    (dict(size='100g', reconfigure=True), 'larger than size 100g: virtual disks do not shrink'),
    (dict(disks=['0:0:2', '0:0:3'], reconfigure=True), 'Disks 0:0:4 are members of virtual disk Web and cannot leave it'),
    (dict(count=2, reconfigure=True), 'more than count 2: virtual disks do not give up disks'),
    (dict(span_length=2), 'has spans of 3 disks, not 2: the span length cannot be changed'),
    # absent
    (dict(state='absent', force=True), ['vkconfig storage vdisk action=deletevdisk controller=0 vdisk=1 force=yes']),
    (dict(state='absent', name='Gone'), []),
])
def test_vdisk_plans(params, expected):
    result = vdisk_plan(ESTATE, **params)
    if isinstance(expected, str):
        assert expected in result
    else:
        assert result == expected


def test_vdisk_layouts_built_as_r10_variants_are_r10():
    mirror = vdisk(2, 'Mirror', layout=4096)
    assert vdisk_plan(ESTATE + [mirror], name='Mirror', raid='r10') == []


GLOBAL = 'vkconfig storage pdisk action=assignglobalhotspare controller=0 pdisk=0:0:5 '
DEDICATED = 'vkconfig storage vdisk action=assigndedicatedhotspare controller=0 vdisk=%s pdisk=0:0:5 '


@pytest.mark.parametrize('role, wanted, expected', [
    ({'spare': 'none'}, {'spare': 'global'}, [(GLOBAL + 'assign=yes', False)]),
    ({'spare': 'global'}, {'spare': 'global'}, []),
    ({'spare': 'global'}, {'spare': 'none'}, [(GLOBAL + 'assign=no', False)]),
    ({'spare': 'global'}, {'spare': 'dedicated', 'vdisk': '1'},
     [(GLOBAL + 'assign=no', False), (DEDICATED % 1 + 'assign=yes', True)]),
    ({'spare': 'dedicated', 'vdisk': '0'}, {'spare': 'dedicated', 'vdisk': '1'},
     [(DEDICATED % 0 + 'assign=no', False), (DEDICATED % 1 + 'assign=yes', True)]),
    ({'spare': 'dedicated', 'vdisk': '1'}, {'spare': 'none'}, [(DEDICATED % 1 + 'assign=no', False)]),
    ({'spare': 'none'}, {'spare': 'dedicated', 'vdisk': '1'}, [(DEDICATED % 1 + 'assign=yes', False)]),
])
def test_hotspare_plans(role, wanted, expected):
    steps = vk_hotspare.plan(0, '0:0:5', role, wanted)
    assert [(command_text(s.words), s.after_previous) for s in steps] == expected


PDISK_OPTIONS = dict(controller=0, disk='0:0:4', state=None, blink=None, cache_policy=None, write_cache=None)
PD = 'vkconfig storage pdisk action=%s controller=0 pdisk=0:0:4'


@pytest.mark.parametrize('disk, params, expected', [
    (pdisk('0:0:4', state=4), dict(state='online', blink=False, cache_policy='default', write_cache=False), []),
    (pdisk('0:0:4', state=4, Blinking=1, WriteCache=1, diskwritecachepolicy=8),
     dict(state='offline', blink=False, cache_policy='disabled', write_cache=False),
     [(PD % 'offline', False), (PD % 'unblink', False),
      (PD % 'setarraydiskcache' + ' cache=disabled', False), (PD % 'disabledevicewritecache', False)]),
    (pdisk('0:0:4', state=8), dict(state='online', blink=True), [(PD % 'online', False), (PD % 'blink', False)]),
    # settings after a conversion can only be checked once it is done
    (pdisk('0:0:4', state=128), dict(state='ready', write_cache=True),
     [(PD % 'convertNonRAIDtoRAID', False), (PD % 'enabledevicewritecache', True)]),
    (pdisk('0:0:4', state=1), dict(state='ready'), []),
    (pdisk('0:0:4', state=4), dict(state='ready'), 'Physical disk 0:0:4 is online: only a non-RAID disk can be made ready'),
])
def test_pdisk_plans(disk, params, expected):
    module = FakeModule(dict(PDISK_OPTIONS, **params))
    try:
        steps = vk_pdisk.plan(module, disk)[0]
    except Failed as failed:
        assert failed.result['msg'] == expected
        return
    assert [(command_text(s.words), s.after_previous) for s in steps] == expected


CONTROLLER_OPTIONS = dict((name, None) for name in (
    'rebuild_rate', 'bgi_rate', 'check_consistency_rate', 'reconstruct_rate',
    'abort_check_consistency_on_error', 'revertible_hot_spare', 'auto_replace_member_on_predictive_failure',
    'persistent_hot_spare', 'load_balance', 'nonraid_disk_cache_policy', 'alarm', 'patrol_read_mode'))
CTRL = {'ObjType': 'controller', 'GlobalNo': '0', 'RebuildRate': '30', 'BGIRate': '30', 'Copyback': '1',
        'AutoCopybackOnPredictiveFailure': '0', 'Loadbalance': '0', 'PatrolReadMode': '1',
        'AlarmPresent': '1', 'AlarmState': '1'}
PROPS = 'vkconfig storage controller action=setchangecontrollerproperties controller=0 '


@pytest.mark.parametrize('params, expected', [
    (dict(rebuild_rate=30, bgi_rate=30, load_balance='auto', patrol_read_mode='auto', alarm='enabled',
          revertible_hot_spare=False, persistent_hot_spare=False), []),
    (dict(rebuild_rate=60, bgi_rate=30, load_balance='disabled', nonraid_disk_cache_policy='enabled'),
     [(PROPS + 'rebuildrate=60 Loadbalance=disabled nrdiskcachepolicy=enabled', False)]),
    # auto replace needs revertible hot spares in force first
    (dict(revertible_hot_spare=True, auto_replace_member_on_predictive_failure=True),
     [(PROPS + 'AllowRevertibleHotSpareandReplaceMember=enabled', False),
      (PROPS + 'AutoReplaceMemberOnPredictiveFailure=enabled', True)]),
    (dict(patrol_read_mode='manual', alarm='quiet'),
     [('vkconfig storage controller action=setpatrolreadmode mode=manual controller=0', False),
      ('vkconfig storage controller action=quietalarm controller=0', False)]),
    (dict(alarm='disabled'), [('vkconfig storage controller action=disablealarm controller=0', False)]),
])
def test_controller_plans(params, expected):
    steps = vk_controller.plan(dict(CONTROLLER_OPTIONS, controller=0, **params), CTRL)
    assert [(command_text(s.words), s.after_previous) for s in steps] == expected


def test_info_gathers_objects_keyed_by_kind_with_members_and_spares():
    spare = pdisk('0:0:5', attrs=0x500)
    module = FakeModule(answers={
        'vkreport storage controller': answer([{'ObjType': 'controller', 'GlobalNo': '0'},
                                               {'ObjType': 'controller', 'GlobalNo': '1'}]),
        'vkreport storage controller controller=0': answer(
            [{'ObjType': 'controller', 'GlobalNo': '0'}, {'ObjType': 'battery', 'BatteryID': '0'}, WEB]
            + [spare, MEMBERS[2], MEMBERS[0], MEMBERS[1]]),
        'vkreport storage pdisk controller=0 vdisk=1': answer(MEMBERS + [{'ObjType': 'span'}, spare]),
        'vkreport storage globalinfo': answer([{'ObjType': 'globalinfo', 'Name': 'Global Information'}]),
    })
    estate = vk_storage_info.gather(VkCli(module), [0], ['vdisks', 'pdisks', 'batteries', 'globalinfo'])
    ctrl, = estate['controllers']
    assert ctrl['id'] == '0'
    assert set(ctrl) >= {'vdisks', 'pdisks', 'batteries'} and 'enclosures' not in ctrl
    web, = [vd for vd in ctrl['vdisks'] if vd['Name'] == 'Web']
    assert (web['id'], web['members'], web['hotspares']) == ('1', ['0:0:2', '0:0:3', '0:0:4'], ['0:0:5'])
    assert [d['id'] for d in ctrl['pdisks']] == ['0:0:2', '0:0:3', '0:0:4', '0:0:5']
    assert estate['globalinfo']['Name'] == 'Global Information'
    with pytest.raises(Failed) as failed:
        vk_storage_info.gather(VkCli(module), [0, 7], ['vdisks'])
    assert failed.value.result['msg'] == 'Controller 7 was not found. Valid controllers: 0, 1'


@pytest.mark.parametrize('argv, expected', [
    (['vkconfig', 'storage', 'vdisk', 'action=blink', 'controller=0', 'vdisk=1'],
     ['vdisk', 'action=blink', 'controller=0', 'vdisk=1']),
    (['battery', 'action=startlearn', 'controller=0', 'battery=0'],
     ['battery', 'action=startlearn', 'controller=0', 'battery=0']),
    (['vdisk', 'action=blink', '--format=text'], 'argv holds options (--format=text)'),
    (['vkconfig', 'storage'], 'argv names no storage object'),
])
def test_command_words(argv, expected):
    try:
        assert vk_command.command_words(FakeModule(), argv) == expected
    except Failed as failed:
        assert failed.result['msg'].startswith(expected)
