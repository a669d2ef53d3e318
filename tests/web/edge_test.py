#!/usr/bin/python3
"""corvane-web against hostile clients: a name that rebinds to 127.0.0.1
(from curl and from headless chromium), slow clients holding every event
stream, oversized and unbounded bodies, idle connections, cross-site
writes, markup in values and path traversal.

usage: edge_test.py CORVANE_WEB

Every wait is bounded; nothing here measures speed.
"""
import http.client
import json
import os
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

WEB = sys.argv[1]
REBINDING = 'rebind.example'     # an attacker's name that now resolves to 127.0.0.1
GIVEN = 'camera.example'         # a name corvane-web is started with
MAX_STREAMS = 8
MAX_BODY = 16384
BOUND = 20                       # seconds any single wait may take


def wait_until(ready, what, timeout=BOUND):
    deadline = time.time() + timeout
    while time.time() < deadline:
        if ready():
            return
        time.sleep(0.05)
    raise AssertionError(what + ': not within %d s' % timeout)


class EdgeTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workdir = tempfile.mkdtemp(prefix='corvane-web-edge.')
        port_file = os.path.join(cls.workdir, 'port')
        cls.log = open(os.path.join(cls.workdir, 'corvane-web.log'), 'w')
        cls.server = subprocess.Popen([WEB, '--listen', '127.0.0.1:0', '--port-file', port_file,
                                       '--allow-host', GIVEN], stdout=cls.log, stderr=subprocess.STDOUT)
        def port():
            if not os.path.exists(port_file):
                return ''
            with open(port_file) as text:
                return text.read().strip()
        wait_until(port, 'corvane-web')
        cls.port = int(port())

    def setUp(self):
        # the daemon answers writes once its start-up has finished
        def handled():
            self.write('corvane.cam1.codec1', 'ready')
            return self.node('encode.cam1.stream1.codec') == 'ready'
        wait_until(handled, 'the daemon handling writes')

    @classmethod
    def tearDownClass(cls):
        cls.server.terminate()
        status = cls.server.wait(timeout=BOUND)
        cls.log.close()
        # a sanitizer's report ends the server with another status
        if status != 0:
            with open(cls.log.name) as log:
                raise AssertionError('corvane-web returned %d:\n%s' % (status, log.read()[-4000:]))

    # ---- plain requests, as curl sends them ----

    def request(self, method, path, host=None, body=None, headers=None):
        connection = http.client.HTTPConnection('127.0.0.1', self.port, timeout=BOUND)
        sent = dict(headers or {})
        if host is not None:
            connection.putrequest(method, path, skip_host=True)
            connection.putheader('Host', host)
        else:
            connection.putrequest(method, path)
        data = body.encode() if isinstance(body, str) else body
        if data is not None:
            sent.setdefault('Content-Length', str(len(data)))
        for name, value in sent.items():
            connection.putheader(name, value)
        connection.endheaders(data)
        reply = connection.getresponse()
        content = reply.read()
        connection.close()
        return reply.status, content, reply

    def write(self, name, value, host=None, page=True):
        headers = {'Content-Type': 'application/json'}
        if page:
            headers['X-Corvane-Page'] = '1'
        return self.request('POST', '/api/set', host, json.dumps({'name': name, 'value': value}), headers)

    def node(self, name):
        status, content, _ = self.request('GET', '/api/node?name=' + name)
        self.assertEqual(status, 200)
        return json.loads(content)['value']['text']

    def test_rebinding_host_is_refused_and_ours_answered(self):
        ours = '127.0.0.1:%d' % self.port
        for host in (ours, '127.3.2.1:%d' % self.port, 'localhost:%d' % self.port, '[::1]:%d' % self.port,
                     '%s:%d' % (GIVEN, self.port)):
            self.assertEqual(self.request('GET', '/api/names', host)[0], 200, host)
        before = self.node('encode.cam1.stream1.codec')
        for host in ('127.0.0.1.%s:%d' % (REBINDING, self.port), '%s:%d' % (REBINDING, self.port),
                     'localhost.%s:%d' % (REBINDING, self.port), '127.0.0.1:%d' % (self.port + 1), '127.1:%d' % self.port,
                     ''):
            status, content, _ = self.request('GET', '/api/names', host)
            self.assertEqual(status, 421, host)
            self.assertNotIn(b'corvane.cam1.brightness', content)
            self.assertEqual(self.write('corvane.cam1.codec1', 'rebound', host)[0], 421, host)
        self.assertEqual(self.node('encode.cam1.stream1.codec'), before)

    def test_rebinding_name_refused_from_curl(self):
        url = 'http://%s:%d/api/names' % (REBINDING, self.port)
        resolve = '%s:%d:127.0.0.1' % (REBINDING, self.port)
        reply = subprocess.run(['curl', '-s', '-o', '/dev/null', '-w', '%{http_code}', '--max-time', str(BOUND),
                                '--resolve', resolve, url], capture_output=True, text=True)
        self.assertEqual(reply.stdout, '421')
        given = 'http://%s:%d/api/names' % (GIVEN, self.port)
        reply = subprocess.run(['curl', '-s', '-o', '/dev/null', '-w', '%{http_code}', '--max-time', str(BOUND),
                                '--resolve', '%s:%d:127.0.0.1' % (GIVEN, self.port), given],
                               capture_output=True, text=True)
        self.assertEqual(reply.stdout, '200')

    def test_rebinding_page_in_chromium_can_neither_read_nor_write(self):
        options = Options()
        for argument in ('--headless', '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage',
                         '--host-resolver-rules=MAP %s 127.0.0.1, MAP %s 127.0.0.1' % (REBINDING, GIVEN)):
            options.add_argument(argument)
        options.binary_location = '/usr/bin/chromium'
        driver = webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)
        driver.set_script_timeout(BOUND)
        fetch = '''
            const done = arguments[arguments.length - 1];
            const read = fetch('/api/names').then(r => r.status, e => 'error ' + e);
            const write = fetch('/api/set', {method: 'POST', headers: {'X-Corvane-Page': '1'},
                                             body: JSON.stringify({name: 'corvane.cam1.codec1', value: 'rebound'})})
                .then(r => r.status, e => 'error ' + e);
            Promise.all([read, write]).then(done);'''
        try:
            before = self.node('encode.cam1.stream1.codec')
            # the attacker's page, served from the rebinding name: what it reaches is refused
            driver.get('http://%s:%d/' % (REBINDING, self.port))
            self.assertIn('refused', driver.find_element('tag name', 'body').text)
            self.assertEqual(driver.execute_async_script(fetch), [421, 421])
            self.assertEqual(self.node('encode.cam1.stream1.codec'), before)
            # the same browser on a name the server was given: the resolver rule works
            driver.get('http://%s:%d/' % (GIVEN, self.port))
            self.assertEqual(driver.execute_async_script(fetch), [200, 200])
            self.assertEqual(self.node('encode.cam1.stream1.codec'), 'rebound')
        finally:
            driver.quit()

    # ---- slow clients ----

    def open_stream(self):
        """An event stream that is never read: a slow client."""
        held = socket.create_connection(('127.0.0.1', self.port), timeout=BOUND)
        held.sendall(b'GET /api/events HTTP/1.1\r\nHost: 127.0.0.1:%d\r\n\r\n' % self.port)
        head = b''
        while b'\r\n\r\n' not in head:
            piece = held.recv(1)
            if not piece:
                break
            head += piece
        return held, head.split(b' ')[1] if b' ' in head else b''

    def test_api_answers_while_every_stream_is_held(self):
        held = []
        try:
            for _ in range(MAX_STREAMS):
                stream, status = self.open_stream()
                held.append(stream)
                self.assertEqual(status, b'200')
            extra, status = self.open_stream()
            extra.close()
            self.assertEqual(status, b'503')
            started = time.time()
            status, content, _ = self.request('GET', '/api/rows?sensor=1')
            print('\n/api/rows with %d streams held: %d in %.3f s' % (MAX_STREAMS, status, time.time() - started))
            self.assertEqual(status, 200)
            self.assertIn('corvane.cam1.brightness', [row['legacy'] for row in json.loads(content)['rows']])
            self.assertEqual(self.write('corvane.cam1.codec1', 'H265')[0], 200)
        finally:
            for stream in held:
                stream.close()

        def stream_again():
            stream, status = self.open_stream()
            stream.close()
            return status == b'200'
        wait_until(stream_again, 'a stream once the held ones closed')

    def test_idle_connection_is_closed(self):
        idle = socket.create_connection(('127.0.0.1', self.port), timeout=BOUND + 10)
        try:
            self.assertEqual(idle.recv(1), b'')
        finally:
            idle.close()

    # ---- bodies ----

    def test_large_body_refused_before_it_is_read(self):
        # only the head is sent: a server that waited for the body would time out instead
        connection = socket.create_connection(('127.0.0.1', self.port), timeout=BOUND)
        try:
            connection.sendall(b'POST /api/set HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nX-Corvane-Page: 1\r\n'
                               b'Content-Type: application/json\r\nContent-Length: %d\r\n\r\n' % (self.port, 1 << 20))
            reply = connection.recv(4096)
        finally:
            connection.close()
        self.assertTrue(reply.startswith(b'HTTP/1.1 413 '), reply[:80])
        # sent whole, it is refused as well and nothing is written
        before = self.node('encode.cam1.stream1.codec')
        try:
            status = self.write('corvane.cam1.codec1', 'b' * (1 << 20))[0]
        except (ConnectionError, http.client.HTTPException):
            status = 413  # the server may close while the body is still being sent
        self.assertEqual(status, 413)
        self.assertEqual(self.node('encode.cam1.stream1.codec'), before)

    def test_body_without_length_refused(self):
        connection = socket.create_connection(('127.0.0.1', self.port), timeout=BOUND)
        try:
            connection.sendall(b'POST /api/set HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nX-Corvane-Page: 1\r\n'
                               b'Transfer-Encoding: chunked\r\n\r\n100000\r\n' % self.port)
            reply = connection.recv(4096)
        finally:
            connection.close()
        self.assertTrue(reply.startswith(b'HTTP/1.1 411 '), reply[:80])

    def test_a_write_of_a_few_kib_is_taken_and_one_longer_refused(self):
        self.assertEqual(self.write('corvane.cam1.codec1', 'k' * 8192)[0], 200)
        self.assertEqual(self.node('encode.cam1.stream1.codec'), 'k' * 8192)
        status, content, _ = self.write('corvane.cam1.codec1', 'k' * 8193)
        self.assertEqual(status, 400)
        self.assertIn('value too long', json.loads(content)['message'])

    # ---- what was refused before stays refused ----

    def test_cross_site_write_refused(self):
        before = self.node('encode.cam1.stream1.codec')
        # a plain form of another site cannot add the page's header
        status, _, _ = self.request('POST', '/api/set', None,
                                    json.dumps({'name': 'corvane.cam1.codec1', 'value': 'cross'}),
                                    {'Content-Type': 'text/plain', 'Origin': 'http://evil.example'})
        self.assertEqual(status, 403)
        # and the preflight that would let it is never granted
        status, _, reply = self.request('OPTIONS', '/api/set', None, None,
                                        {'Origin': 'http://evil.example', 'Access-Control-Request-Method': 'POST',
                                         'Access-Control-Request-Headers': 'x-corvane-page'})
        self.assertIsNone(reply.getheader('Access-Control-Allow-Origin'))
        self.assertIsNone(reply.getheader('Access-Control-Allow-Headers'))
        self.assertEqual(self.node('encode.cam1.stream1.codec'), before)

    def test_markup_in_a_value_is_served_as_data(self):
        markup = '<script>window.injected = 1</script>'
        self.assertEqual(self.write('corvane.cam1.codec1', markup)[0], 200)
        status, content, reply = self.request('GET', '/api/node?name=encode.cam1.stream1.codec')
        self.assertEqual(status, 200)
        self.assertEqual(reply.getheader('Content-Type'), 'application/json')
        self.assertEqual(reply.getheader('X-Content-Type-Options'), 'nosniff')
        self.assertIn("script-src 'self'", reply.getheader('Content-Security-Policy'))
        self.assertEqual(json.loads(content)['value']['text'], markup)

    def test_path_traversal_finds_nothing(self):
        for path in ('/../../../../etc/passwd', '/%2e%2e/%2e%2e/%2e%2e/etc/passwd', '/api/../../etc/passwd',
                     '/..%2f..%2f..%2fetc%2fpasswd', '//etc/passwd'):
            status, content, _ = self.request('GET', path)
            self.assertEqual(status, 404, path)
            self.assertNotIn(b'root:', content)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
