#!/usr/bin/python3
"""The operator's page in Debian's headless chromium, against a running
corvane-web: the page loads, a form write reaches the native node, a PTZ
command button moves the drawn carriers, markup in a value stays text.

usage: page_test.py CORVANE_WEB ARTIFACT_DIR [CORVANE_SIM CORVANE_BUS]

With CORVANE_SIM and CORVANE_BUS the bus is a private redis-server: the
daemon and the simulated head run in corvane-sim as a process of their own,
corvane-web is one more client, and corvane-bus reads the nodes back.
Without them corvane-web runs the daemon in its own process.
"""
import argparse
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support import expected_conditions
from selenium.webdriver.support.ui import Select, WebDriverWait

ARGUMENTS = argparse.ArgumentParser()
ARGUMENTS.add_argument('web')
ARGUMENTS.add_argument('artifacts')
ARGUMENTS.add_argument('sim', nargs='?')
ARGUMENTS.add_argument('bus_tool', nargs='?')
OPTIONS = ARGUMENTS.parse_args()
WEB = OPTIONS.web
ARTIFACTS = OPTIONS.artifacts
MARKUP = '<b id="bold">bold</b> & <script>window.injected = 1</script><img src=x onerror="window.injected = 2">'


def wait_until(ready, what, process=None, timeout=20):
    deadline = time.time() + timeout
    while time.time() < deadline:
        if ready():
            return
        if process is not None and process.poll() is not None:
            raise RuntimeError('%s: the process exited with %d' % (what, process.returncode))
        time.sleep(0.05)
    raise RuntimeError(what + ': timed out')


def start_bus(workdir):
    """A private redis-server and corvane-sim with the daemon and the head on it."""
    socket = os.path.join(workdir, 'redis.sock')
    redis = subprocess.Popen(['redis-server', '--port', '0', '--unixsocket', socket, '--unixsocketperm', '700',
                              '--dir', workdir, '--save', '', '--appendonly', 'no',
                              '--logfile', os.path.join(workdir, 'redis.log')])
    ping = lambda: subprocess.run(['redis-cli', '-s', socket, 'ping'], capture_output=True).stdout == b'PONG\n'
    wait_until(ping, 'redis-server', redis)
    address = 'redis:' + socket
    with open(os.path.join(workdir, 'corvane-sim.log'), 'w') as log:
        sim = subprocess.Popen([OPTIONS.sim, '--bus', address, '--view', '--realtime'],
                               stdout=log, stderr=subprocess.STDOUT)
    wait_until(lambda: bus_get(address, 'sim.head.ring') is not None, 'corvane-sim', sim)
    return [sim, redis], address


def bus_get(address, name):
    """A node as another client of the bus reads it (None: absent)."""
    reply = subprocess.run([OPTIONS.bus_tool, '--bus', address, 'get', name], capture_output=True)
    return reply.stdout[:-1].decode() if reply.returncode == 0 else None


def start_server(workdir, address):
    port_file = os.path.join(workdir, 'port')
    command = [WEB, '--listen', '127.0.0.1:0', '--port-file', port_file] + (['--bus', address] if address else [])
    with open(os.path.join(workdir, 'corvane-web.log'), 'w') as log:
        process = subprocess.Popen(command, stdout=log, stderr=subprocess.STDOUT)

    def port():
        if not os.path.exists(port_file):
            return ''
        with open(port_file) as text:
            return text.read().strip()
    wait_until(port, 'corvane-web', process)
    return process, 'http://127.0.0.1:%s' % port()


def browser():
    options = Options()
    options.add_argument('--headless')
    options.add_argument('--no-sandbox')
    options.add_argument('--disable-gpu')
    options.add_argument('--disable-dev-shm-usage')
    options.add_argument('--window-size=1400,1000')
    options.binary_location = '/usr/bin/chromium'
    return webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workdir = tempfile.mkdtemp(prefix='corvane-web-test.')
        cls.others, cls.address = start_bus(cls.workdir) if OPTIONS.sim else ([], None)
        cls.server, cls.url = start_server(cls.workdir, cls.address)
        cls.driver = browser()
        cls.wait = WebDriverWait(cls.driver, 30)
        cls.driver.get(cls.url + '/')
        cls.wait.until(expected_conditions.text_to_be_present_in_element((By.ID, 'live'), 'live'))
        cls.wait.until(lambda d: d.find_elements(By.CSS_SELECTOR, '#head svg path.carrier'))
        cls.writes_at_open = len(cls.driver.find_elements(By.CSS_SELECTOR, '#last-writes li'))

    @classmethod
    def tearDownClass(cls):
        os.makedirs(ARTIFACTS, exist_ok=True)
        picture = 'corvane-web-redis.png' if cls.address else 'corvane-web.png'
        cls.driver.save_screenshot(os.path.join(ARTIFACTS, picture))
        cls.driver.quit()
        cls.server.terminate()
        status = cls.server.wait(timeout=30)
        with open(os.path.join(cls.workdir, 'corvane-web.log')) as log:
            output = log.read()
        for process in cls.others:
            process.terminate()
            process.wait(timeout=30)
        # a sanitizer's report ends the server with another status
        if status != 0:
            raise AssertionError('corvane-web returned %d:\n%s' % (status, output[-4000:]))

    def bus_rows(self, sensor):
        with urllib.request.urlopen(self.url + '/api/rows?sensor=%d' % sensor) as reply:
            return {row['legacy']: row for row in json.load(reply)['rows']}

    def row(self, legacy):
        return self.driver.find_element(By.CSS_SELECTOR, 'tr[data-legacy="%s"]' % legacy)

    def choose_sensor(self, sensor):
        Select(self.driver.find_element(By.ID, 'sensor')).select_by_value(str(sensor))
        self.wait.until(lambda d: d.find_elements(By.CSS_SELECTOR, 'tr[data-legacy="corvane.cam%d.codec1"]' % sensor))

    def write(self, name, value, typed=True):
        for field, text in (('write-name', name), ('write-value', value)):
            element = self.driver.find_element(By.ID, field)
            element.clear()
            if typed:
                element.send_keys(text)
            else:  # pasted: typing 70,000 keys takes minutes
                self.driver.execute_script('arguments[0].value = arguments[1]', element, text)
        self.driver.find_element(By.ID, 'write-button').click()

    def test_page_lists_a_sensors_legacy_nodes_beside_their_native_nodes(self):
        self.choose_sensor(3)
        row = self.row('corvane.cam3.brightness')
        cells = [cell.text for cell in row.find_elements(By.TAG_NAME, 'td')]
        self.assertEqual(cells[2], 'image.cam3.brightness')
        self.assertEqual(cells[4], 'cb_corvane_brightness')
        self.assertEqual(cells[3], self.bus_rows(3)['corvane.cam3.brightness']['native_value']['text'])

    def test_form_write_reaches_the_native_node_and_markup_stays_text(self):
        self.choose_sensor(2)
        self.write('corvane.cam2.codec1', MARKUP)
        row = self.row('corvane.cam2.codec1')
        native = row.find_element(By.CSS_SELECTOR, 'td.native-value')
        self.wait.until(lambda d: native.text == MARKUP)
        self.assertEqual(row.find_element(By.CSS_SELECTOR, 'td.legacy-value').text, MARKUP)
        self.assertIn('fresh', row.get_attribute('class'))
        # the bus holds exactly what was typed, on the native node the binding names
        bus = self.bus_rows(2)['corvane.cam2.codec1']
        self.assertEqual(bus['native'], 'encode.cam2.stream1.codec')
        self.assertEqual(bus['native_value']['text'], MARKUP)
        if self.address:
            self.assertEqual(bus_get(self.address, 'encode.cam2.stream1.codec'), MARKUP)
        self.assertEqual(self.driver.find_elements(By.ID, 'bold'), [])
        self.assertEqual(row.find_elements(By.TAG_NAME, 'img'), [])
        self.assertIsNone(self.driver.execute_script('return window.injected'))
        message = self.driver.find_element(By.ID, 'write-message').text
        self.assertIn('wrote %d bytes' % len(MARKUP.encode()), message)

    def test_a_write_the_bus_cannot_take_is_refused_with_a_message(self):
        self.write('corvane.cam1.codec1', 'a' * 70000, typed=False)
        message = self.driver.find_element(By.ID, 'write-message')
        self.wait.until(lambda d: 'refused' in message.text)
        # refused from its length alone, before the body is read
        self.assertIn('value too long (a request of 700', message.text)

    def test_the_header_says_the_bus_answers_and_the_service_runs(self):
        self.wait.until(expected_conditions.text_to_be_present_in_element((By.ID, 'reachable'), 'bus reachable'))
        self.wait.until(expected_conditions.text_to_be_present_in_element((By.ID, 'service'), 'running'))
        self.assertEqual(self.driver.find_element(By.ID, 'service').get_attribute('class'), 'on')
        self.assertNotIn('bus: bus', self.driver.find_element(By.ID, 'bus').text)
        if self.address:
            # the writes the bus held when the page opened: the daemon's start-up
            self.assertGreater(self.writes_at_open, 0)

    def test_a_write_to_a_node_the_bus_does_not_hold_warns_of_a_typo(self):
        self.write('corvane.cam1.brightnes', '5')
        message = self.driver.find_element(By.ID, 'write-message')
        self.wait.until(lambda d: 'typo' in message.text)
        self.assertEqual(message.get_attribute('class'), 'message warning')
        self.write('corvane.cam1.brightness', '5')
        self.wait.until(lambda d: message.text == 'wrote 1 byte to corvane.cam1.brightness')
        self.assertEqual(message.get_attribute('class'), 'message ok')

    def test_zz_a_stopped_service_and_a_lost_server_show_in_the_header(self):
        """Last: it stops the daemon and the server."""
        if not self.address:
            self.skipTest('the daemon runs inside corvane-web')
        sim, redis = self.others
        sim.terminate()
        sim.wait(timeout=30)
        # its last word an hour old, as after a crash long ago
        socket = self.address[len('redis:'):]
        now = int(subprocess.run(['redis-cli', '-s', socket, 'time'], capture_output=True).stdout.split()[0])
        subprocess.run(['redis-cli', '-s', socket, 'hset', 'corvane:readers', 'corvane-sim',
                        '0-0 %d' % ((now - 3600) * 1000)], check=True, capture_output=True)
        self.wait.until(expected_conditions.text_to_be_present_in_element((By.ID, 'service'), 'not running'))
        self.assertEqual(self.driver.find_element(By.ID, 'service').get_attribute('class'), 'off')
        self.write('corvane.cam1.brightness', '6')
        message = self.driver.find_element(By.ID, 'write-message')
        self.wait.until(lambda d: 'nothing acts on it' in message.text)
        redis.kill()
        redis.wait(timeout=30)
        self.wait.until(expected_conditions.text_to_be_present_in_element((By.ID, 'reachable'), 'bus unreachable'))
        self.assertEqual(self.driver.find_element(By.ID, 'reachable').get_attribute('class'), 'off')

    def carrier(self, letter):  # read in one go: the drawing is replaced as the head moves
        return self.driver.execute_script(
            'const path = document.getElementById(arguments[0]); return path && path.getAttribute("d")',
            'carrier-' + letter)

    def test_pan_form_moves_one_carrier(self):
        before = {letter: self.carrier(letter) for letter in 'ABCD'}
        Select(self.driver.find_element(By.ID, 'pan-camera')).select_by_value('4')
        units = self.driver.find_element(By.ID, 'pan-units')
        units.clear()
        units.send_keys('-20')
        self.driver.find_element(By.ID, 'pan-button').click()
        self.wait.until(expected_conditions.text_to_be_present_in_element(
            (By.ID, 'call-state'), 'done do_old_pan corvane.cam4.pan -20'))
        self.wait.until(lambda d: self.carrier('D') != before['D'])
        self.assertEqual([self.carrier(letter) for letter in 'ABC'], [before[letter] for letter in 'ABC'])

    def test_ptz_button_moves_the_drawn_carriers(self):
        carrier = self.carrier
        before = {letter: carrier(letter) for letter in 'ACD'}
        Select(self.driver.find_element(By.ID, 'ptz-via')).select_by_value('interpreter')
        self.driver.find_element(By.ID, 'ptz-360').click()
        # drawn while it moves, not only at the end
        self.wait.until(lambda d: carrier('A') not in (None, before['A']) and
                        'running' in d.execute_script('return document.getElementById("call-state").textContent'))
        WebDriverWait(self.driver, 60).until(
            expected_conditions.text_to_be_present_in_element((By.ID, 'ptzstatus'), 'ptz-360_done'))
        time.sleep(0.3)
        after = {letter: carrier(letter) for letter in 'ACD'}
        for letter in 'ACD':
            self.assertNotEqual(after[letter], before[letter], letter)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
