// corvane-web's page: every value goes into the document as text, never as markup.
'use strict';

const PTZ_WORDS = ['ptz-home', 'ptz-360', 'ptz-270', 'ptz-180', 'ptz-record-preset1', 'ptz-record-preset2',
                   'ptz-preset1', 'ptz-preset2', 'ptz-save_preset'];
const LAST_WRITES = 30;
const FRESH_MS = 2500;

let cells = new Map();    // node name -> table cells showing it
let nextSeq = 0;          // the first change not yet seen
let events = null;
let headPending = false;
let headAgain = false;

function $(id) { return document.getElementById(id); }

function element(tag, text, className) {
  const node = document.createElement(tag);
  if (text !== undefined) node.textContent = text;
  if (className) node.className = className;
  return node;
}

// A node or routine name that wraps only after a dot or an underscore.
function nameCell(name, fallback) {
  if (!name) return element('td', fallback, 'absent');
  const cell = element('td');
  for (const part of name.split(/(?<=[._])/)) cell.append(part, document.createElement('wbr'));
  return cell;
}

function showValue(cell, value) {
  cell.classList.remove('absent', 'hidden', 'escaped');
  if (value === null || value === undefined) {
    cell.textContent = '(absent)';
    cell.classList.add('absent');
    return;
  }
  cell.textContent = value.text;
  if (value.hidden) cell.classList.add('hidden');
  if (value.escaped) { cell.classList.add('escaped'); cell.title = 'not UTF-8: bytes shown escaped'; }
}

function flash(node) {
  node.classList.remove('fresh');
  void node.offsetWidth;  // restart the highlight
  node.classList.add('fresh');
  clearTimeout(node.freshTimer);
  node.freshTimer = setTimeout(() => node.classList.remove('fresh'), FRESH_MS);
}

async function post(path, body) {
  const response = await fetch(path, {
    method: 'POST', headers: {'Content-Type': 'application/json', 'X-Corvane-Page': '1'},
    body: JSON.stringify(body)});
  let reply;
  try { reply = await response.json(); } catch (e) { reply = {ok: false, message: 'HTTP ' + response.status}; }
  return reply;
}

function say(target, reply) {
  target.textContent = reply.message;
  target.className = 'message ' + (!reply.ok ? 'error' : reply.warning ? 'warning' : 'ok');
}

// Whether the bus answers and the service that acts on writes runs, every
// two seconds: words and colours, not only a dot.
async function checkState() {
  let state = null;
  try {
    state = await (await fetch('/api/state')).json();
  } catch (error) {
    state = {reachable: false, running: false, service: 'corvane-web does not answer'};
  }
  $('reachable').textContent = state.reachable ? 'bus reachable' : 'bus unreachable';
  $('reachable').className = state.reachable ? 'on' : 'off';
  $('service').textContent = state.reachable ? state.service : 'service unknown';
  $('service').className = state.reachable && state.running ? 'on' : 'off';
  setTimeout(checkState, 2000);
}

async function loadRows() {
  const sensor = $('sensor').value;
  const reply = await (await fetch('/api/rows?sensor=' + encodeURIComponent(sensor))).json();
  $('bus').textContent = 'bus: ' + reply.bus;
  const body = $('nodes').tBodies[0];
  body.replaceChildren();
  cells = new Map();
  for (const row of reply.rows) {
    const tr = element('tr');
    tr.dataset.legacy = row.legacy;
    const legacyName = nameCell(row.legacy);
    const legacyValue = element('td', undefined, 'legacy-value');
    const nativeName = nameCell(row.native, '(none)');
    const nativeValue = element('td', undefined, 'native-value');
    const handler = nameCell(row.handler, '(none)');
    showValue(legacyValue, row.legacy_value);
    if (row.native) showValue(nativeValue, row.native_value);
    tr.append(legacyName, legacyValue, nativeName, nativeValue, handler);
    legacyName.addEventListener('click', () => { $('write-name').value = row.legacy; $('write-value').focus(); });
    body.append(tr);
    remember(row.legacy, tr, legacyValue);
    if (row.native) remember(row.native, tr, nativeValue);
  }
  listen(reply.seq);
}

function remember(name, tr, cell) {
  if (!cells.has(name)) cells.set(name, []);
  cells.get(name).push({tr, cell});
}

function listen(from) {
  if (events) events.close();
  nextSeq = from;
  events = new EventSource('/api/events?from=' + from);
  events.onopen = () => { $('live').textContent = 'live'; $('live').className = 'on'; };
  events.onerror = () => {
    $('live').textContent = 'not live'; $('live').className = 'off';
    events.close();
    setTimeout(() => listen(nextSeq), 1000);
  };
  events.addEventListener('reload', () => loadRows());
  events.addEventListener('change', (event) => changed(JSON.parse(event.data)));
}

function changed(change) {
  nextSeq = change.seq + 1;
  if (change.name.startsWith('sim.head.')) { refreshHead(); return; }
  for (const {tr, cell} of cells.get(change.name) || []) {
    showValue(cell, change.value);
    flash(tr);
  }
  if (change.name === 'corvane.ptzstatus') $('ptzstatus').textContent = change.value.text;
  if (change.name === 'sim.call.state') $('call-state').textContent = '(' + change.value.text + ')';
  flash(addLastWrite(change));
}

function addLastWrite(change) {
  const item = element('li');
  item.append(element('span', change.name + ' = '), element('span', change.value.text),
              element('span', '  ' + change.writer, 'writer'));
  const list = $('last-writes');
  list.prepend(item);
  while (list.children.length > LAST_WRITES) list.lastChild.remove();
  return item;
}

// One drawing at a time; writes meanwhile ask for one more.
async function refreshHead() {
  if (headPending) { headAgain = true; return; }
  headPending = true;
  try {
    const text = await (await fetch('/api/head.svg')).text();
    const svg = new DOMParser().parseFromString(text, 'image/svg+xml').documentElement;
    if (svg.nodeName === 'svg') $('head').replaceChildren(document.importNode(svg, true));
  } finally {
    headPending = false;
    if (headAgain) { headAgain = false; setTimeout(refreshHead, 50); }
  }
}

async function start() {
  for (const word of PTZ_WORDS) {
    const button = element('button', word);
    button.type = 'button';
    button.id = 'ptz-' + word.replace(/^ptz-/, '');
    button.addEventListener('click', async () => say($('ptz-message'), await post('/api/ptz', {word, via: $('ptz-via').value})));
    $('ptz-buttons').append(button);
  }
  $('pan-form').addEventListener('submit', async (event) => {
    event.preventDefault();
    say($('ptz-message'), await post('/api/pan', {camera: Number($('pan-camera').value),
      units: Number($('pan-units').value), routine: $('pan-routine').value}));
  });
  $('write-form').addEventListener('submit', async (event) => {
    event.preventDefault();
    say($('write-message'), await post('/api/set', {name: $('write-name').value, value: $('write-value').value}));
  });
  $('sensor').addEventListener('change', loadRows);
  checkState();
  for (const change of await (await fetch('/api/recent')).json()) addLastWrite(change);
  const names = await (await fetch('/api/names')).json();
  $('legacy-names').replaceChildren(...names.map((name) => { const o = element('option'); o.value = name; return o; }));
  const status = await (await fetch('/api/node?name=corvane.ptzstatus')).json();
  if (status.value) $('ptzstatus').textContent = status.value.text;
  await loadRows();
  refreshHead();
}

document.addEventListener('DOMContentLoaded', start);
