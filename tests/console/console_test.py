#!/usr/bin/python3
"""corvane-sim's console in a real terminal (a private tmux server): the
start-up summary, line editing and history, completion, usage lines and
the notes the console adds; with CORVANE_BUS, the same line editing in the
bus client's console on a private redis-server, and other processes'
writes kept off the line being typed. Both consoles are left every way
there is (Ctrl-C, Ctrl-D, quit, SIGTERM, SIGINT), started by make as make
demo starts them: make exits 0 and the terminal edits lines again.

usage: console_test.py CORVANE_SIM [CORVANE_BUS]
"""
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

SIM = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else 'build/host/corvane-sim')
BUS = os.path.abspath(sys.argv[2]) if len(sys.argv) > 2 else None
DEVICE = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'sim', 'devices', 'default.dev')
PROMPT = 'corvane> '
KEYS = {'Tab', 'Up', 'Down', 'C-u'}


class Terminal:
    """One console session in its own tmux server."""

    def __init__(self, workdir, name, command=None):
        self.socket = os.path.join(workdir, 'tmux-' + name)
        self.trace = os.path.join(workdir, name + '.trace')
        command = command or '%s --console --realtime --trace %s' % (SIM, self.trace)
        environment = 'CORVANE_HISTORY=%s' % os.path.join(workdir, 'history')
        self.tmux('new-session', '-d', '-x', '200', '-y', '60', 'cd %s && env %s %s' % (workdir, environment, command))
        self.tmux('set-option', '-g', 'history-limit', '20000')
        self.wait_for(lambda screen: screen.rstrip().endswith(PROMPT.strip()))

    def tmux(self, *arguments):
        return subprocess.run(['tmux', '-S', self.socket] + list(arguments), check=True,
                              capture_output=True, text=True).stdout

    def screen(self):
        return self.tmux('capture-pane', '-p', '-J', '-S', '-20000')

    def wait_for(self, ready, timeout=15):
        deadline = time.time() + timeout
        while time.time() < deadline:
            screen = self.screen()
            if ready(screen):
                return screen
            time.sleep(0.05)
        raise AssertionError('the terminal never got ready:\n' + self.screen())

    def keys(self, *keys):
        self.tmux('send-keys', *keys)

    def run(self, *parts):
        """Types the parts (text, or keys such as Tab and Up), then Enter;
        returns what the line printed."""
        before = self.screen().rstrip()
        prompts = before.count(PROMPT.strip())
        for part in parts:
            if part in KEYS:
                self.keys(part)
            elif part:
                self.keys('-l', part)
        self.keys('Enter')
        screen = self.wait_for(lambda s: s.rstrip().count(PROMPT.strip()) > prompts and
                               s.rstrip().endswith(PROMPT.strip()))
        return screen.rstrip()[len(before):].rsplit(PROMPT.strip(), 1)[0]

    def close(self):
        self.keys('C-d')
        time.sleep(0.3)
        subprocess.run(['tmux', '-S', self.socket, 'kill-server'], capture_output=True)


def start_redis(workdir):
    """A private redis-server with the default device's nodes; returns it
    and its address."""
    socket = os.path.join(workdir, 'redis.sock')
    redis = subprocess.Popen(['redis-server', '--port', '0', '--unixsocket', socket, '--unixsocketperm', '700',
                              '--dir', workdir, '--save', '', '--appendonly', 'no',
                              '--logfile', os.path.join(workdir, 'redis.log')])
    address = 'redis:' + socket
    deadline = time.time() + 10
    while subprocess.run([BUS, '--bus', address, 'load', DEVICE], capture_output=True).returncode != 0:
        if time.time() > deadline:
            raise AssertionError('redis-server did not start')
        time.sleep(0.05)
    return redis, address


class ConsoleTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workdir = tempfile.mkdtemp(prefix='corvane-console-test.')
        with open(os.path.join(cls.workdir, 'history'), 'w') as history:
            history.write('get corvane.cam4.saturation\n')
        cls.terminal = Terminal(cls.workdir, 'first')

    @classmethod
    def tearDownClass(cls):
        cls.terminal.close()
        shutil.rmtree(cls.workdir, ignore_errors=True)

    def test_start_up_is_a_summary_with_the_full_list_on_request(self):
        screen = self.terminal.screen()
        first_prompt = screen[:screen.index(PROMPT.strip())]
        summary = re.search(r'start-up: (\d+) registrations, (\d+) legacy nodes mirrored \((\d+) writes\), '
                            r'(\d+) log lines, \d+ ms', first_prompt)
        self.assertIsNotNone(summary, first_prompt)
        self.assertNotIn('[main]', first_prompt)  # the daemon's banner is held back
        with open(self.terminal.trace) as trace:
            lines = trace.read().splitlines()
        start_up = lines[:next(i for i, line in enumerate(lines) if line.startswith('client'))] \
            if any(line.startswith('client') for line in lines) else lines
        self.assertEqual(int(summary.group(1)), sum(line.startswith('listen ') for line in start_up))
        self.assertEqual(int(summary.group(3)), sum(line.startswith('set ') for line in start_up))
        full = self.terminal.run('startup')
        self.assertIn('Corvane control model id', full)
        self.assertEqual(full.count('  => '), int(summary.group(3)))

    def test_a_commands_record_shows_only_what_it_caused(self):
        output = self.terminal.run('set corvane.cam2.brightness 10')
        self.assertEqual(re.findall(r'  => (\S+) = ', output), ['image.cam2.brightness'])
        self.assertIn('Enter corvane.cam2.brightness = 10', output)

    def test_usage_lines_for_wrong_arguments(self):
        for line, usage in (('set', 'usage: set NAME [VALUE]'), ('get', 'usage: get NAME'),
                            ('get a b', 'usage: get NAME'), ('fault x', 'usage: fault NAME CODE'),
                            ('expect-writes', 'usage: expect-writes N'), ('help me', 'usage: help [script]')):
            self.assertIn(usage, self.terminal.run(line), line)

    def test_a_write_nobody_listens_to_is_stored_with_a_note(self):
        output = self.terminal.run('set corvane.nothing.here 5')
        self.assertIn('stored; no handler listens on corvane.nothing.here', output)
        self.assertIn('corvane.nothing.here = 5', self.terminal.run('get corvane.nothing.here'))
        self.assertNotIn('no handler listens', self.terminal.run('set corvane.cam1.brightness 3'))

    def test_help_lists_the_interactive_commands_and_help_script_the_rest(self):
        interactive = self.terminal.run('help')
        scripting = self.terminal.run('help script')
        for word in ('set NAME', 'watch COMMAND', 'startup', 'svg [FILE]'):
            self.assertIn(word, interactive)
            self.assertNotIn(word, scripting)
        for word in ('expect-writes N', 'wait-ticks N', 'check-trace FILE'):
            self.assertIn(word, scripting)
            self.assertNotIn(word, interactive)

    def test_tab_completes_commands_node_names_and_routines(self):
        self.assertIn('corvane.cam2.saturation = ', self.terminal.run('ge', 'Tab', 'corvane.cam2.satu', 'Tab'))
        self.assertIn('head: ring', self.terminal.run('hea', 'Tab'))
        output = self.terminal.run('call ptzto', 'Tab', 'Tab')  # several: listed, nothing run
        for routine in ('ptztohome', 'ptzto360', 'ptzto270', 'ptzto180'):
            self.assertIn(routine, output)

    def test_history_recalls_lines_of_this_and_earlier_sessions(self):
        self.terminal.run('get corvane.cam3.sharpness')
        self.assertIn('corvane.cam3.sharpness = ', self.terminal.run('', 'C-u', 'Up'))
        listing = self.terminal.run('history')
        self.assertRegex(listing, r'1  get corvane.cam4.saturation')
        self.assertIn('get corvane.cam3.sharpness', listing)

    def test_svg_says_where_it_wrote(self):
        output = self.terminal.run('svg head.svg')
        path = os.path.join(os.path.realpath(self.workdir), 'head.svg')
        self.assertIn('wrote %s' % path, output)
        with open(path) as svg:
            self.assertIn('class="focus"', svg.read())

    def test_watch_redraws_the_head_while_a_routine_runs(self):
        output = self.terminal.run('watch call ptztohome')
        self.assertIn('switch made', output)
        self.assertIn('== end of ptztohome!!', output)
        self.assertNotIn('note: the layouts', self.terminal.run('call ptzto360'))


@unittest.skipUnless(BUS, 'no corvane-bus given')
class BusConsoleTest(unittest.TestCase):
    """corvane-bus console: the same line editing, on a bus with nobody else."""

    @classmethod
    def setUpClass(cls):
        cls.workdir = tempfile.mkdtemp(prefix='corvane-bus-console-test.')
        cls.redis, cls.address = start_redis(cls.workdir)
        cls.terminal = Terminal(cls.workdir, 'bus', '%s --bus %s console' % (BUS, cls.address))

    @classmethod
    def tearDownClass(cls):
        cls.terminal.close()
        cls.redis.kill()
        cls.redis.wait()
        shutil.rmtree(cls.workdir, ignore_errors=True)

    def test_tab_completes_commands_and_node_names_read_from_the_bus(self):
        output = self.terminal.run('ge', 'Tab', 'image.cam2.bri', 'Tab')
        self.assertIn('image.cam2.brightness = 50', output)

    def test_history_recalls_the_previous_line(self):
        self.terminal.run('get image.cam3.saturation')
        self.assertIn('image.cam3.saturation = ', self.terminal.run('', 'C-u', 'Up'))

    def test_another_process_write_goes_above_the_line_being_typed(self):
        self.terminal.keys('-l', 'get image.cam1.bri')
        subprocess.run([BUS, '--bus', self.address, 'set', 'test.other_process', '41'], check=True)
        screen = self.terminal.wait_for(lambda s: '=> test.other_process = 41' in s)
        self.terminal.keys('C-u')
        lines = screen.rstrip().splitlines()
        self.assertEqual(lines[-1], PROMPT + 'get image.cam1.bri')
        self.assertTrue(lines[-2].startswith('  => test.other_process = 41  (corvane-bus['), lines[-2])


# A console as make demo runs it: a make recipe that execs it.
MAKEFILE = 'demo:\n\t@echo $$$$ > console.pid && exec %s\n'
HALF_LINE = 'get corvane.cam1.bri'
WAYS_OUT = {
    'Ctrl-C': [HALF_LINE, 'C-c'],
    'Ctrl-D': ['C-d'],
    'quit': ['quit', 'Enter'],
    'SIGTERM': [HALF_LINE, signal.SIGTERM],
    'SIGINT': [HALF_LINE, signal.SIGINT],
}


class LeavingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workdir = tempfile.mkdtemp(prefix='corvane-console-leaving-test.')
        cls.consoles = {'corvane-sim': '%s --console --realtime' % SIM}
        cls.redis = None
        if BUS:
            cls.redis, address = start_redis(cls.workdir)
            cls.consoles['corvane-bus'] = '%s --bus %s console' % (BUS, address)

    @classmethod
    def tearDownClass(cls):
        if cls.redis:
            cls.redis.kill()
            cls.redis.wait()
        shutil.rmtree(cls.workdir, ignore_errors=True)

    def leave(self, console, way):
        """make status and `stty -a` after leaving the console that way."""
        with open(os.path.join(self.workdir, 'Makefile'), 'w') as makefile:
            makefile.write(MAKEFILE % self.consoles[console])
        terminal = Terminal(self.workdir, '%s-%s' % (console, way),
                            'make -s demo; echo "make status $?"; stty -a; sleep 60')
        try:
            for key in WAYS_OUT[way]:
                if isinstance(key, signal.Signals):
                    with open(os.path.join(self.workdir, 'console.pid')) as pid:
                        os.kill(int(pid.read()), key)
                elif key in ('C-c', 'C-d', 'Enter'):
                    terminal.keys(key)
                else:
                    terminal.keys('-l', key)
            screen = terminal.wait_for(lambda s: re.search(r'make status \d+\n(.*\n)*.*\bicrnl\b', s))
        finally:
            subprocess.run(['tmux', '-S', terminal.socket, 'kill-server'], capture_output=True)
        return screen[screen.rindex('make status'):]

    def test_every_way_out_leaves_make_content_and_the_terminal_sane(self):
        for console in self.consoles:
            for way in WAYS_OUT:
                with self.subTest(console=console, way=way):
                    after = self.leave(console, way)
                    self.assertTrue(after.startswith('make status 0\n'), after)
                    for flag in ('icanon', 'echo', 'isig'):
                        self.assertRegex(after, r'(?<![-\w])%s(?![\w])' % flag)
                    self.assertRegex(after, r'\bintr = \^C;')
        with open(os.path.join(self.workdir, 'history')) as history:
            self.assertNotIn(HALF_LINE, history.read())


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
