// The page: the cameras on one side, the panel of the chosen one on the other, and the stream that
// keeps both going.

import {cameraDialog} from './api.js';
import {openAddDialog, openRemoveDialog} from './camera_dialogs.js';
import {Dialog} from './dialog/dialog.js';
import {byId, element, notify} from './dom.js';
import {EventsPanel} from './events.js';
import {LogsPanel} from './logs.js';
import {currentRung, MachinePanel} from './machine.js';
import {SpanPanel} from './span.js';
import {StatisticsPanel} from './statistics.js';
import {Stream} from './stream.js';
import {Tabs} from './tabs.js';
import {Tile} from './tile.js';

const tiles = new Map(); // by camera
let selected = null; // the camera that the panel is about
let enlarged = null; // the one that is shown alone
let hostOffsetUs = 0; // from this page's clock to the host's

const cameraName = id => tiles.get(id)?.camera.name ?? '';
const settingsRoot = element('div', {}, element('p', {class: 'hint'}, 'Choose a camera.'));
const events = new EventsPanel(cameraName);
const statistics = new StatisticsPanel();
const span = new SpanPanel(() => Date.now() * 1000 + hostOffsetUs);
const machine = new MachinePanel();
const logs = new LogsPanel();
const tabs = new Tabs([
    {id: 'settings', caption: 'Settings', root: settingsRoot},
    {id: 'events', caption: 'Events', root: events.root, paint: () => events.paint()},
    {id: 'statistics', caption: 'Counts', root: statistics.root, paint: () => statistics.paint()},
    {id: 'span', caption: 'Record', root: span.root},
    {id: 'machine', caption: 'Machine', root: machine.root, show: isShown => machine.show(isShown)},
    {id: 'logs', caption: 'Logs', root: logs.root, paint: () => logs.paint()},
]);
const stream = new Stream(onMessage, onState);

const onMessageOf = {
    picture: (message, bytes) =>
        tiles.get(message.device)?.player.addPicture(message.timestampUs, bytes, performance.now()),
    objects: message => tiles.get(message.device)?.player.addObjects(message),
    events: message => {
        const result = tiles.get(message.device)?.player.addEvents(message, performance.now());
        if (!result)
            return;
        events.addResult(message.device, result);
        statistics.addResult(message.device, result);
    },
    diagnosticEvent: message => events.addDiagnostic(message),
    deviceManifest: message => events.addManifest(message.value),
    status: onStatus,
    cameras: message => setCameras(message.cameras),
    log: message => logs.add(message.log, message.lines),
    lost: message => notify(`This page is slow: it has lost ${message.messages} messages.`),
    trouble: message => notify(message.text),
};

function onMessage(message, bytes) {
    onMessageOf[message.kind]?.(message, bytes);
}

// Opened, the stream begins with all that there is.
function onState(isOpen) {
    const summary = byId('summary');
    if (!isOpen) {
        summary.dataset.state = 'failed';
        summary.textContent = 'No connection to the host';
        return;
    }
    logs.restart();
}

function onStatus(status) {
    hostOffsetUs = status.nowUs - Date.now() * 1000;
    for (const camera of status.cameras)
        tiles.get(camera.id)?.setStatus(camera, performance.now());
    const rung = currentRung(status.ladder);
    const summary = byId('summary');
    summary.dataset.state = rung.state;
    summary.textContent = rung.state === 'done' ? 'Results flow' : rung.title;
    summary.title = rung.detail;
    machine.setStatus(status);
    statistics.setStatus(status, cameraName);
}

function setCameras(cameras) {
    for (const [id, tile] of tiles) {
        if (cameras.some(camera => camera.id === id))
            continue;
        tile.player.close();
        if (tile.root.contains(document.activeElement))
            ((tile.root.nextElementSibling ?? tile.root.previousElementSibling)?.querySelector('.name')
                ?? byId('add-camera')).focus();
        tile.root.remove();
        tiles.delete(id);
        dialogs.delete(id);
    }
    for (const camera of cameras) {
        const tile = tiles.get(camera.id);
        if (!tile) {
            tiles.set(camera.id, new Tile(camera, {select, enlarge, remove}));
            byId('tiles').append(tiles.get(camera.id).root);
        } else {
            tile.update(camera);
        }
        showFigures(camera.id);
    }
    byId('no-cameras').hidden = cameras.length > 0;
    events.setCameras(cameras);
    if (enlarged && !tiles.has(enlarged))
        enlarge(null);
    if (!tiles.has(selected))
        select(cameras[0]?.id ?? null);
    layOut();
}

const dialogs = new Map(); // by camera, of those that were chosen; what is entered stays in them

function select(id) {
    if (id === selected)
        return;
    const last = selected;
    selected = id;
    showFigures(last);
    for (const [other, tile] of tiles)
        tile.root.classList.toggle('selected', other === id);
    statistics.setDevice(id);
    span.setDevice(id);
    const tile = tiles.get(id);
    if (tile && !dialogs.has(id))
        dialogs.set(id, new Dialog(cameraDialog(id), tile.overlay, () => showFigures(id)));
    settingsRoot.replaceChildren(tile
        ? element('div', {}, element('h2', {}, tile.camera.name), dialogs.get(id).root)
        : element('p', {class: 'hint'}, 'Choose a camera.'));
    dialogs.get(id)?.refresh();
}

// Those of an open dialog can be moved on the picture, and those that are not applied stay there.
function showFigures(id) {
    const tile = tiles.get(id);
    const dialog = dialogs.get(id);
    if (!tile)
        return;
    const isOpen = id === selected;
    tile.setPending(dialog?.isPending() ?? false);
    if (!dialog || dialog.figures.length === 0 || !(isOpen || dialog.isPending()))
        return tile.showSavedFigures();
    tile.overlay.showFigures(dialog.figures, dialog.value('maskType') === 'exclusive',
        isOpen ? (name, points) => dialog.setPoints(name, points) : null);
}

// Null: all cameras again.
function enlarge(id) {
    enlarged = id === enlarged ? null : id;
    if (enlarged)
        select(enlarged);
    layOut();
}

function remove(id) {
    openRemoveDialog(tiles.get(id).camera);
}

function layOut() {
    document.body.classList.toggle('one-large', enlarged !== null);
    document.body.dataset.count = tiles.size;
    byId('back-to-grid').hidden = enlarged === null;
    for (const [id, tile] of tiles)
        tile.root.hidden = enlarged !== null && id !== enlarged;
    wishPictures();
}

// Nobody looks at a page that is hidden.
function wishPictures() {
    if (document.hidden)
        stream.letGo();
    else if (enlarged)
        stream.wish('large', [enlarged]);
    else
        stream.wish('small');
}

function repaint(nowMs) {
    for (const tile of tiles.values()) {
        if (!tile.root.hidden)
            tile.player.tick(performance.now());
    }
    if (Math.floor(nowMs / 250) !== Math.floor(lastRepaintMs / 250))
        tabs.paint();
    lastRepaintMs = nowMs;
    requestAnimationFrame(repaint);
}

let lastRepaintMs = 0;

function switchTheme() {
    const root = document.documentElement;
    const isDark = getComputedStyle(root).colorScheme === 'dark'
        || (root.dataset.theme === undefined && matchMedia('(prefers-color-scheme: dark)').matches);
    root.dataset.theme = isDark ? 'light' : 'dark';
    localStorage.setItem('theme', root.dataset.theme);
}

const theme = localStorage.getItem('theme');
if (theme)
    document.documentElement.dataset.theme = theme;
byId('theme').addEventListener('click', switchTheme);
byId('add-camera').addEventListener('click', () => openAddDialog(tiles.size));
byId('back-to-grid').addEventListener('click', () => enlarge(null));
byId('summary').addEventListener('click', () => tabs.open('machine'));
document.addEventListener('visibilitychange', wishPictures);
document.addEventListener('keydown', event => {
    const overlay = tiles.get(selected)?.overlay;
    if (document.querySelector('dialog[open]'))
        return;
    if (event.key === 'z' && (event.ctrlKey || event.metaKey) && event.target.type !== 'text') {
        if (overlay?.drawing)
            overlay.takeLastPoint();
        else
            dialogs.get(selected)?.undo();
    } else if (event.key === 'Escape' && overlay?.drawing) {
        overlay.cancel();
    } else if (event.key === 'Escape' && enlarged) {
        enlarge(null);
    }
});
wishPictures();
requestAnimationFrame(repaint);
