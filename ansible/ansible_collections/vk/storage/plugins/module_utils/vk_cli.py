# -*- coding: utf-8 -*-
"""Runs vkreport and vkconfig for the modules and turns their answers into task results.

Every command is run with --format=json, so a module reads the same objects
and refusals a script would. A refusal, a rights failure or an unreachable
agent ends the task through fail_json with the message number and its two
arguments; nothing here raises into the module's caller.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os

# Exit statuses of vkreport and vkconfig.
EXIT_REFUSED = 1
EXIT_USAGE = 2
EXIT_RIGHTS = 3
EXIT_AGENT = 4

AGENT = 'kvda'


class Step(object):
    """One vkconfig command line of a plan.

    `after_previous` marks a step whose checks only pass once the steps
    before it have been carried out (a disk must stop being a global hot
    spare before it can become a dedicated one); check mode lists such a
    step but cannot dry-run it against the unchanged estate.
    """

    def __init__(self, words, after_previous=False):
        self.words = list(words)
        self.after_previous = after_previous

    def __repr__(self):
        return 'Step(%r, after_previous=%r)' % (self.words, self.after_previous)


class VkCli(object):
    """The commands of one module run: finds the programs, runs them, fails the task on a refusal."""

    def __init__(self, module):
        self.module = module
        self.bin_dir = module.params.get('vk_bin_dir')
        self._programs = {}
        self.commands = []  # vkconfig command lines carried out (check mode: planned), as text
        self.requests = []  # the requests the dry runs would have sent
        self.unchecked = []  # check mode: steps listed but not dry-run

    def program(self, name):
        """Path of vkreport or vkconfig: in vk_bin_dir when given, else on the task's PATH."""
        if name in self._programs:
            return self._programs[name]
        if self.bin_dir:
            path = os.path.join(self.bin_dir, name)
            if not (os.path.isfile(path) and os.access(path, os.X_OK)):
                self.module.fail_json(msg='%s was not found in vk_bin_dir %s' % (name, self.bin_dir))
        else:
            path = self.module.get_bin_path(name)
            if not path:
                self.module.fail_json(
                    msg='%s was not found on PATH (%s): install the vk storage tools, or set PATH '
                        'in the environment of the task, or give vk_bin_dir'
                        % (name, os.environ.get('PATH', '')))
        self._programs[name] = path
        return path

    def run(self, program, words, dry_run=False):
        """Runs `program storage WORDS...` and returns its JSON answer; fails the task unless it succeeded."""
        argv = [self.program(program), '--format=json']
        if dry_run:
            argv.append('--dry-run')
        argv.append('storage')
        argv.extend(words)
        rc, out, err = self.module.run_command(argv)
        line = ' '.join([program] + (['--dry-run'] if dry_run else []) + ['storage'] + list(words))
        try:
            answer = json.loads(out)
        except ValueError:
            answer = None
        if not isinstance(answer, dict):
            self.module.fail_json(
                msg='%s gave no JSON answer (exit %d): %s' % (program, rc, (err or out).strip()),
                rc=rc, cmd=line, stdout=out, stderr=err)
        if rc != 0:
            self.fail(program, line, rc, answer, err)
        return answer

    def fail(self, program, line, rc, answer, err=''):
        """Ends the task with the refusal or failure that the command answered."""
        text = answer.get('text') or (err or '').strip() or 'failed'
        text = text.strip()
        number = answer.get('message')
        args = answer.get('args') or []
        if rc == EXIT_RIGHTS:
            msg = '%s. Run the task with become: true (root or a member of the administrators\' group).' % (
                text.rstrip('.'))
        elif rc == EXIT_AGENT:
            # The host names the agent when it cannot load it; an internal
            # failure does not, so the agent is named here for both.
            msg = text if AGENT in text else 'The data agent %s could not serve the command: %s' % (AGENT, text)
        elif number is not None:
            msg = '%s message %s: %s' % (program, number, text)
        else:
            msg = text
        self.module.fail_json(msg=msg, rc=rc, cmd=line, vk_message=number, vk_args=args,
                              vk_status=answer.get('status'))

    def report(self, *words):
        """The objects of a `vkreport storage ...` answer."""
        return objects_of(self.run('vkreport', words))

    def config(self, words, dry_run=False):
        """Runs one `vkconfig storage ...` line (or its dry run) and records it."""
        answer = self.run('vkconfig', words, dry_run=dry_run)
        self.commands.append(command_text(words))
        if dry_run:
            self.requests.append(answer.get('request') or [])
        return answer

    def carry_out(self, steps):
        """Runs the plan; in check mode each step runs as a dry run so the plug-in's checks still apply."""
        for step in steps:
            if not self.module.check_mode:
                self.config(step.words)
            elif step.after_previous:
                self.commands.append(command_text(step.words))
                self.unchecked.append(command_text(step.words))
            else:
                self.config(step.words, dry_run=True)
        return bool(steps)

    def result(self, **fields):
        """The common part of a module's result: what was run and, in check mode, what would be sent."""
        fields['commands'] = list(self.commands)
        if self.module.check_mode:
            fields['requests'] = list(self.requests)
            if self.unchecked:
                fields['unchecked'] = list(self.unchecked)
        return fields


def command_text(words):
    return ' '.join(['vkconfig', 'storage'] + list(words))


def objects_of(answer):
    """The storage objects of an answer (a list of dicts of tag to text)."""
    objs = answer.get('objects') or []
    return [o for o in objs if isinstance(o, dict)]
