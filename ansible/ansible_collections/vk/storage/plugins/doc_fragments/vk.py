# -*- coding: utf-8 -*-
"""Options and notes shared by every module of the collection."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type


class ModuleDocFragment(object):
    DOCUMENTATION = r'''
options:
  vk_bin_dir:
    description:
      - Directory that holds C(vkreport) and C(vkconfig).
      - When not given they are looked up on the C(PATH) of the task's environment.
    type: path
notes:
  - The module runs C(vkreport) and C(vkconfig) on the managed host with C(--format=json).
    They reach the estate that the task's environment selects, so C(environment) in a play
    (for example C(KVDA_STATE) for the simulated estate, or C(PATH)) applies to them.
  - A refusal of the storage commands fails the task with C(msg), the message number in
    C(vk_message) and its two arguments in C(vk_args).
requirements:
  - vkreport and vkconfig on the managed host
'''
