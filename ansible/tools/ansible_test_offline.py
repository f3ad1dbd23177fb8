#!/usr/bin/python3
"""Runs ansible-test with the Debian packages instead of pip.

ansible-test gives every sanity test a virtual environment of its own and
fills it with pip from the network. Here there is no network and the tools
come from Debian packages, so each environment is made with the system's
site packages and nothing is installed into it. Arguments are those of
ansible-test; run it from the collection's root like ansible-test.
"""

import sys

from ansible_test._internal import main
from ansible_test._internal.commands import sanity

_create_virtual_environment = sanity.create_virtual_environment


def _system_site_environment(args, python, path, system_site_packages=False, pip=False):
    del system_site_packages, pip  # always the system's packages, never pip
    return _create_virtual_environment(args, python, path, True, False)


def _no_pip(*_args, **_kwargs):
    return None


sanity.create_virtual_environment = _system_site_environment
sanity.run_pip = _no_pip

if __name__ == '__main__':
    sys.exit(main())
