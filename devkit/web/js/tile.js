// One camera on the page: its picture with boxes and figures, its name and how it does.

import {element} from './dom.js';
import {className, drawObjects, shortTrack} from './drawing.js';
import {figuresOf} from './figures.js';
import {Overlay} from './overlay.js';
import {Player} from './player.js';

const kRateSamples = 5;

export class Tile {
    // actions: {select(id), enlarge(id), remove(id)}
    constructor(camera, actions) {
        this.id = camera.id;
        this.canvas = element('canvas', {role: 'img', 'aria-label': camera.name});
        this.context = this.canvas.getContext('2d', {alpha: false});
        this.overlay = new Overlay();
        this.player = new Player((...shown) => this.#show(...shown));
        this.trouble = element('p', {class: 'trouble', hidden: true});
        this.name = element('button', {class: 'name', type: 'button', onclick: () => actions.select(this.id)});
        this.pending = element('span', {class: 'pending', hidden: true}, 'not applied');
        this.rates = element('span', {class: 'rates'});
        this.enlargeButton = element('button', {
            type: 'button', class: 'icon', onclick: () => actions.enlarge(this.id)}, '⤢');
        this.removeButton = element('button', {
            type: 'button', class: 'icon', onclick: () => actions.remove(this.id)}, '✕');
        this.stage = element('div', {class: 'stage', onclick: () => actions.select(this.id)},
            this.canvas, this.overlay.root, this.trouble);
        this.root = element('article', {class: 'tile', 'data-camera': camera.id},
            this.stage,
            element('div', {class: 'bar'}, this.name, this.pending, this.rates, this.enlargeButton, this.removeButton));
        this.shownCount = 0;
        this.lastRates = []; // of the last statuses
        this.describedMs = 0;
        this.update(camera);
    }

    update(camera) {
        this.camera = camera;
        this.name.textContent = camera.name;
        this.name.title = `${camera.name}\n${camera.source}`;
        this.enlargeButton.setAttribute('aria-label', `Show ${camera.name} large`);
        this.removeButton.setAttribute('aria-label', `Remove ${camera.name}`);
    }

    // Whether its dialog holds what is not applied.
    setPending(isPending) {
        this.pending.hidden = !isPending;
    }

    showSavedFigures() {
        this.overlay.showFigures(figuresOf(this.camera.values), this.camera.values.maskType === 'exclusive');
    }

    // The camera's part of the host's status.
    setStatus(status, nowMs) {
        this.trouble.textContent = status.trouble;
        this.trouble.hidden = status.trouble === '';
        const now = {nowMs, shown: this.shownCount, results: status.results};
        this.lastRates.push(now);
        if (this.lastRates.length > kRateSamples)
            this.lastRates.shift();
        const before = this.lastRates[0];
        const seconds = Math.max((nowMs - before.nowMs) / 1000, 0.001);
        const rate = (key, digits) => ((now[key] - before[key]) / seconds).toFixed(digits);
        const pictures = now.shown === before.shown ? 'no picture'
            : `${rate('shown', 0)} fps, ${this.player.delayMs.toFixed(0)} ms behind`;
        this.rates.textContent = `${pictures} · ${rate('results', 1)} results/s`;
    }

    #show(bitmap, result, timestampUs) {
        const scale = Math.min(window.devicePixelRatio || 1, 2);
        const width = Math.round(this.canvas.clientWidth * scale);
        const height = Math.round(width * bitmap.height / bitmap.width);
        if (width === 0)
            return;
        if (this.canvas.width !== width || this.canvas.height !== height) {
            this.canvas.width = width;
            this.canvas.height = height;
            this.stage.style.aspectRatio = `${bitmap.width} / ${bitmap.height}`;
        }
        this.context.drawImage(bitmap, 0, 0, width, height);
        const objects = result?.objects ?? [];
        drawObjects(this.context, width, height, objects, scale);
        ++this.shownCount;
        Object.assign(this.root.dataset, {
            shown: this.shownCount, pictureUs: timestampUs, resultUs: result?.timestampUs ?? '',
            boxes: JSON.stringify(objects.map(object => object.box))});
        this.#describe(objects);
    }

    // What the picture shows in words, often enough for who listens.
    #describe(objects) {
        const nowMs = performance.now();
        if (nowMs - this.describedMs < 1000)
            return;
        this.describedMs = nowMs;
        const names = objects.map(object => `${className(object.typeId)} ${shortTrack(object.trackId)}`);
        this.canvas.setAttribute('aria-label',
            `${this.camera.name}: ${names.length === 0 ? 'no objects' : names.join(', ')}`);
    }
}
