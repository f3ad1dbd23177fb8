#!/usr/bin/python
# -*- coding: utf-8 -*-

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
module: vk_command
short_description: Run one vkconfig storage command line
description:
  - The way to any configuration command that no other module of the collection covers; runs
    one C(vkconfig storage) command line, given as a list of words.
  - The task is C(changed) when the command is carried out; a refusal fails it with the
    message number and its two arguments.
  - The module cannot know whether the command changes anything, so it always reports
    C(changed) (use C(changed_when) in the task to say better).
version_added: 1.0.0
author:
  - vk storage tools developers (!UNKNOWN)
extends_documentation_fragment:
  - vk.storage.vk
attributes:
  check_mode:
    support: full
    description: Runs the command with C(--dry-run), so its checks run and nothing is sent;
      C(requests) shows what would have been sent.
  diff_mode:
    support: none
    description: The module cannot know what the command changes.
options:
  argv:
    description:
      - The words of the command line after C(vkconfig storage), such as
        C([vdisk, action=blink, controller=0, vdisk=1]). Leading C(vkconfig) and C(storage)
        words are accepted and dropped.
      - Options beginning with C(--) are the module's own (it adds C(--format=json) and, in
        check mode, C(--dry-run)) and are refused.
    type: list
    elements: str
    required: true
'''

EXAMPLES = r'''
- name: Start a check consistency of virtual disk 1
  vk.storage.vk_command:
    argv: [vdisk, action=checkconsistency, controller=0, vdisk=1]

- name: Set the rebuild rate; a rate that is in force already (message 1648) is no failure
  vk.storage.vk_command:
    argv: [controller, action=setrebuildrate, controller=0, rate=40]
  register: rate
  failed_when: rate.failed and rate.vk_message != 1648
  changed_when: not rate.failed
'''

RETURN = r'''
text:
  description: The command's answer as text.
  returned: always
  type: str
  sample: "The command was carried out.\n"
request:
  description: The request sent to the data agent (in check mode, the one that would be sent).
  returned: always
  type: list
  elements: str
  sample: ["vkacmd=setVDBlink", "GlobalNo=0", "LogicalDriveNum=1"]
objects:
  description: The objects the agent answered with (none in check mode).
  returned: always
  type: list
  elements: dict
  sample: []
commands:
  description: The command line run.
  returned: always
  type: list
  elements: str
  sample: ["vkconfig storage vdisk action=blink controller=0 vdisk=1"]
requests:
  description: The request the dry run would send.
  returned: in check mode
  type: list
  elements: list
  sample: [["vkacmd=setVDBlink", "GlobalNo=0", "LogicalDriveNum=1"]]
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.vk.storage.plugins.module_utils.vk_cli import VkCli, objects_of


def command_words(module, argv):
    words = list(argv)
    for lead in ('vkconfig', 'storage'):
        if words and words[0] == lead:
            words.pop(0)
    options = [w for w in words if w.startswith('--')]
    if options:
        module.fail_json(msg='argv holds options (%s): the module gives vkconfig its own options'
                             % ', '.join(options))
    if not words:
        module.fail_json(msg='argv names no storage object: give the words after "vkconfig storage"')
    return words


def main():
    module = AnsibleModule(
        argument_spec=dict(
            argv=dict(type='list', elements='str', required=True),
            vk_bin_dir=dict(type='path'),
        ),
        supports_check_mode=True,
    )
    cli = VkCli(module)
    words = command_words(module, module.params['argv'])
    answer = cli.config(words, dry_run=module.check_mode)
    module.exit_json(**cli.result(changed=True, text=answer.get('text', ''),
                                  request=answer.get('request') or [], objects=objects_of(answer)))


if __name__ == '__main__':
    main()
