# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import pytest

from ansible_collections.vk.storage.plugins.module_utils.vk_cli import Step, VkCli
from ansible_collections.vk.storage.plugins.module_utils.vk_estate import (
    disk_id, pick_disks, size_bytes)
from ansible_collections.vk.storage.tests.unit.fakes import Failed, FakeModule, pdisk

BLINK = 'vkconfig storage vdisk action=blink controller=0 vdisk=1'


@pytest.mark.parametrize('rc, answer, msg, number, args', [
    (1, {'status': 'refused', 'message': 1602, 'args': ['0:0:99', '0:0:1, 0:0:2'],
         'text': 'Physical disk 0:0:99 was not found. Valid physical disks: 0:0:1, 0:0:2'},
     'vkconfig message 1602: Physical disk 0:0:99 was not found. Valid physical disks: 0:0:1, 0:0:2',
     1602, ['0:0:99', '0:0:1, 0:0:2']),
    (3, {'status': 'refused', 'text': "you need administrator rights for 'vkconfig storage vdisk'"},
     "you need administrator rights for 'vkconfig storage vdisk'. Run the task with become: true", None, []),
    (4, {'status': 'error', 'message': 1590, 'args': ['kvda', ''],
         'text': 'The data agent kvda is not available.'},
     'The data agent kvda is not available.', 1590, ['kvda', '']),
    (4, {'status': 'error', 'text': 'cannot load the storage plug-in: /x.so'},
     'The data agent kvda could not serve the command: cannot load the storage plug-in', None, []),
    (1, 'Segmentation fault', 'vkconfig gave no JSON answer (exit 1)', None, None),
])
def test_failures_carry_the_message_number_and_arguments(rc, answer, msg, number, args):
    module = FakeModule(answers={BLINK: (rc, answer)})
    with pytest.raises(Failed) as failed:
        VkCli(module).config(['vdisk', 'action=blink', 'controller=0', 'vdisk=1'])
    result = failed.value.result
    assert result['msg'].startswith(msg)
    assert result['rc'] == rc
    if args is not None:
        assert result['vk_message'] == number
        assert result['vk_args'] == args


@pytest.mark.parametrize('check_mode, ran, unchecked', [
    (False, ['vkconfig storage pdisk action=assignglobalhotspare assign=no',
             'vkconfig storage vdisk action=assigndedicatedhotspare assign=yes'], None),
    # The second step needs the first carried out: check mode lists it only.
    (True, ['vkconfig --dry-run storage pdisk action=assignglobalhotspare assign=no'],
     ['vkconfig storage vdisk action=assigndedicatedhotspare assign=yes']),
])
def test_check_mode_dry_runs_the_plan(check_mode, ran, unchecked):
    module = FakeModule(check_mode=check_mode)
    cli = VkCli(module)
    changed = cli.carry_out([Step(['pdisk', 'action=assignglobalhotspare', 'assign=no']),
                             Step(['vdisk', 'action=assigndedicatedhotspare', 'assign=yes'], after_previous=True)])
    assert changed
    assert module.ran == ran
    result = cli.result()
    assert result['commands'] == ['vkconfig storage pdisk action=assignglobalhotspare assign=no',
                                  'vkconfig storage vdisk action=assigndedicatedhotspare assign=yes']
    assert result.get('unchecked') == unchecked


def test_a_missing_program_in_vk_bin_dir_fails_the_task(tmp_path):
    module = FakeModule(params={'vk_bin_dir': str(tmp_path)})
    with pytest.raises(Failed) as failed:
        VkCli(module).report('controller')
    assert failed.value.result['msg'] == 'vkreport was not found in vk_bin_dir %s' % tmp_path


@pytest.mark.parametrize('text, expected', [
    ('max', None), ('MIN', None), ('10', 10 * 1024 ** 3), ('10g', 10 * 1024 ** 3),
    ('512m', 512 * 1024 ** 2), ('4096b', 4096), (' 2G ', 2 * 1024 ** 3),
    ('10x', ValueError), ('', ValueError), ('1.5g', ValueError), ('-1', ValueError),
])
def test_sizes_read_as_vkconfig_reads_them(text, expected):
    if expected is ValueError:
        with pytest.raises(ValueError):
            size_bytes(text)
    else:
        assert size_bytes(text) == expected


@pytest.mark.parametrize('obj, ident', [
    (pdisk('0:0:7'), '0:0:7'),
    (pdisk('1:12'), '1:12'),
])
def test_disk_identifiers(obj, ident):
    assert disk_id(obj) == ident


DISKS = [
    pdisk('0:0:10', media=2), pdisk('0:0:2'), pdisk('0:0:3', attrs=0x401),  # a global hot spare
    pdisk('0:0:4', state=4, attrs=0x402),  # a member
    pdisk('0:0:5', protocol=7), pdisk('0:0:6'), pdisk('0:0:9', media=2), pdisk('0:0:11', media=2),
]


@pytest.mark.parametrize('count, media, protocol, picked', [
    (2, None, None, ['0:0:2', '0:0:6']),
    (3, None, None, ['0:0:9', '0:0:10', '0:0:11']),  # no three HDD SAS disks are free: never mixed
    (1, None, 'sata', ['0:0:5']),
    (2, 'ssd', 'sas', ['0:0:9', '0:0:10']),
    (4, None, None, None),
])
def test_disks_are_picked_free_of_one_kind_in_identifier_order(count, media, protocol, picked):
    found = pick_disks(DISKS, count, media, protocol)
    assert (None if found is None else [disk_id(d) for d in found]) == picked
