// How many objects there were over time in the chosen camera, and how all cameras do.

import {element, svgElement} from './dom.js';
import {className, shortTrack} from './drawing.js';

const kWindowS = 60;
const kWidth = 360;
const kHeight = 120;
const kColours = ['#0b8fb8', '#d9822b', '#8a5cd1', '#2e9e5b', '#c94f7c'];

export class StatisticsPanel {
    constructor() {
        this.seconds = new Map(); // by device: [{second, counts: Map}]
        this.objects = new Map(); // by device: of the last result
        this.device = null;
        this.isDirty = true;
        this.plot = svgElement('svg', {class: 'plot', viewBox: `0 0 ${kWidth} ${kHeight}`, role: 'img'});
        this.legend = element('ul', {class: 'legend'});
        this.objectRows = element('tbody');
        this.rateRows = element('tbody');
        this.rateHead = element('tr');
        this.root = element('div', {},
            element('h3', {}, 'Objects in the picture, the last minute'), this.plot, this.legend,
            element('h3', {}, 'Objects now'),
            table('Objects now', headRow('Class', 'Track', 'Attributes'), this.objectRows),
            element('h3', {}, 'Cameras'),
            table('Rates of the cameras', this.rateHead, this.rateRows));
    }

    setDevice(device) {
        this.device = device;
        this.isDirty = true;
    }

    // Counts that the application sends come before those of the boxes.
    addResult(device, result) {
        const counts = countedBy(result) ?? countBoxes(result.objects);
        const second = Math.floor(result.timestampUs / 1e6);
        const kept = this.seconds.get(device) ?? [];
        this.seconds.set(device, kept);
        if (kept.at(-1)?.second === second)
            kept.at(-1).counts = counts;
        else
            kept.push({second, counts});
        while (kept[0].second < second - kWindowS)
            kept.shift();
        this.objects.set(device, result.objects);
        this.isDirty = this.isDirty || device === this.device;
    }

    setStatus(status, names) {
        const parts = [...new Set(status.cameras.flatMap(camera => camera.latency.map(part => part.name)))];
        this.rateHead.replaceChildren(...headCells('Camera', 'Frames', 'Lost', 'Results',
            ...parts.map(part => `${part}, mean / max ms`)));
        this.rateRows.replaceChildren(...status.cameras.map(camera => element('tr', {},
            element('th', {scope: 'row'}, names(camera.id)),
            ...[camera.framesSent, camera.framesLost, camera.results].map(value => element('td', {}, String(value))),
            ...parts.map(name => {
                const part = camera.latency.find(candidate => candidate.name === name);
                return element('td', {}, part ? `${part.meanMs.toFixed(0)} / ${part.maxMs.toFixed(0)}` : '');
            }))));
    }

    paint() {
        if (!this.isDirty)
            return;
        this.isDirty = false;
        this.#paintPlot();
        const objects = this.objects.get(this.device) ?? [];
        this.objectRows.replaceChildren(...objects.slice(0, 50).map(object => element('tr', {},
            element('td', {}, className(object.typeId)),
            element('td', {title: object.trackId}, shortTrack(object.trackId)),
            element('td', {}, (object.attributes ?? []).map(({name, value}) => `${name}: ${value}`).join(', ')))));
    }

    #paintPlot() {
        const kept = this.seconds.get(this.device) ?? [];
        const names = [...new Set(kept.flatMap(({counts}) => [...counts.keys()]))].sort().slice(0, kColours.length);
        const most = Math.max(4, ...kept.flatMap(({counts}) => [...counts.values()]));
        const last = kept.at(-1)?.second ?? 0;
        const place = (second, count) =>
            `${(kWidth * (second - last + kWindowS) / kWindowS).toFixed(1)},${(kHeight - 6 - (kHeight - 14) * count / most).toFixed(1)}`;
        const lines = names.map((name, index) => svgElement('polyline', {
            points: kept.map(({second, counts}) => place(second, counts.get(name) ?? 0)).join(' '),
            stroke: kColours[index]}));
        const grid = [0, 0.5, 1].map(part => svgElement('text', {
            x: 2, y: kHeight - 8 - (kHeight - 20) * part}, String(Math.round(most * part))));
        this.plot.replaceChildren(...grid, ...lines);
        const now = kept.at(-1)?.counts ?? new Map();
        this.plot.setAttribute('aria-label', names.length === 0 ? 'No counts yet'
            : `Counts now: ${names.map(name => `${name} ${now.get(name) ?? 0}`).join(', ')}`);
        this.legend.replaceChildren(...names.map((name, index) => {
            const mark = svgElement('svg', {viewBox: '0 0 10 10', width: 10, height: 10, 'aria-hidden': 'true'},
                svgElement('rect', {width: 10, height: 10, rx: 2, fill: kColours[index]}));
            return element('li', {}, mark, ` ${name}: ${now.get(name) ?? 0}`);
        }));
    }
}

function countBoxes(objects) {
    const counts = new Map();
    for (const object of objects) {
        const name = className(object.typeId);
        counts.set(name, (counts.get(name) ?? 0) + 1);
    }
    return counts;
}

// The lines "name: count" of a result's event of counts; null without one.
function countedBy(result) {
    const event = result.events.find(candidate => candidate.typeId === 'tavo.orlix.counted');
    if (!event)
        return null;
    const counts = new Map();
    for (const line of event.description.split('\n')) {
        const colon = line.lastIndexOf(':');
        if (colon > 0)
            counts.set(line.slice(0, colon).trim(), Number(line.slice(colon + 1)));
    }
    return counts;
}

function headCells(...captions) {
    return captions.map(caption => element('th', {scope: 'col'}, caption));
}

function headRow(...captions) {
    return element('tr', {}, ...headCells(...captions));
}

function table(name, head, rows) {
    return element('div', {class: 'scroll', tabindex: '0', role: 'region', 'aria-label': name},
        element('table', {'aria-label': name}, element('thead', {}, head), rows));
}
