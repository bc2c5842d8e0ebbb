// The figures over a camera's picture, and drawing them: a box is dragged, a line has two points, a
// polygon as many as are clicked. By keyboard the arrows move a cross and Space sets a point. Points
// of figures in the open dialog can be moved, with the mouse or the arrows.

import {element, svgElement} from './dom.js';

const kSize = 1000; // of the coordinates inside; the picture's shape stretches them
const kNames = {cropBox: 'Region of interest', lineCrossingLine: 'Line'};
const kSteps = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};
const kKeys = 'The arrows move the cross, with Shift by more. Space sets a point, Backspace takes the last one, '
    + 'Enter closes the figure, Escape leaves.';

export class Overlay {
    constructor() {
        this.shapes = svgElement('svg', {
            viewBox: `0 0 ${kSize} ${kSize}`, preserveAspectRatio: 'none', 'aria-hidden': 'true'});
        this.root = element('div', {
            class: 'overlay',
            onpointerdown: event => this.#onDown(event),
            onpointermove: event => this.#onMove(event),
            onpointerup: event => this.#onUp(event),
            ondblclick: () => this.finish(),
            onkeydown: event => this.#onKey(event),
        }, this.shapes);
        this.figures = [];
        this.isExclusive = false;
        this.onMoved = null; // (name, points) where points can be moved
        this.drawing = null; // {name, shape, minPoints, maxPoints, points, cross, resolve}
        this.moving = null; // {figure, index}
    }

    showFigures(figures, isExclusive, onMoved = null) {
        this.figures = figures;
        this.isExclusive = isExclusive;
        this.onMoved = onMoved;
        this.#render();
    }

    // Lets the user draw. Gives the points, or null when it was given up.
    draw(name, shape, minPoints, maxPoints) {
        this.cancel();
        return new Promise(resolve => {
            this.drawing = {name, shape, minPoints, maxPoints, points: [], cross: null, resolve};
            this.root.classList.add('drawing');
            for (const [key, value] of Object.entries({role: 'application', tabindex: 0, 'aria-label': kKeys}))
                this.root.setAttribute(key, value);
            this.root.focus();
            this.#render();
        });
    }

    cancel() {
        this.#end(null);
    }

    // Ends a figure with the points it has, if they are enough.
    finish() {
        if (this.drawing && this.drawing.points.length >= this.drawing.minPoints)
            this.#end(this.drawing.points);
    }

    takeLastPoint() {
        this.drawing?.points.pop();
        this.#render();
    }

    #end(points) {
        const drawing = this.drawing;
        this.drawing = null;
        this.root.classList.remove('drawing');
        for (const key of ['role', 'tabindex', 'aria-label'])
            this.root.removeAttribute(key);
        drawing?.resolve(points);
        this.#render();
    }

    #place(event) {
        const area = this.root.getBoundingClientRect();
        return [bounded((event.clientX - area.left) / area.width), bounded((event.clientY - area.top) / area.height)];
    }

    #onDown(event) {
        const place = this.#place(event);
        const handle = event.target.dataset?.handle;
        if (this.drawing) {
            const {shape, points} = this.drawing;
            this.root.setPointerCapture(event.pointerId);
            if (shape === 'polygon')
                this.#addCorner(place);
            else if (points.length === 0)
                points.push(place, place);
            else
                points[1] = place;
        } else if (handle !== undefined) {
            this.root.setPointerCapture(event.pointerId);
            event.target.focus();
            this.moving = this.#pointOf(handle);
        } else {
            return;
        }
        event.preventDefault();
        this.#render();
    }

    #addCorner(place) {
        const {points, maxPoints} = this.drawing;
        const last = points.at(-1); // a double click is one point
        if (!last || Math.hypot(last[0] - place[0], last[1] - place[1]) > 0.01)
            points.push(place);
        if (points.length >= maxPoints)
            this.#end(points);
    }

    #onMove(event) {
        if (this.drawing && this.drawing.shape !== 'polygon' && this.drawing.points.length === 2)
            this.drawing.points[1] = this.#place(event);
        else if (this.moving)
            this.moving.figure.points[this.moving.index] = this.#place(event);
        else
            return;
        this.#render();
    }

    #onUp(event) {
        if (this.moving) {
            const {figure} = this.moving;
            this.moving = null;
            this.onMoved?.(figure.name, figure.points);
        } else if (this.drawing && this.drawing.shape !== 'polygon') {
            const {points} = this.drawing;
            if (points.length < 2)
                return;
            points[1] = this.#place(event);
            // A click alone is the first of two points.
            if (Math.hypot(points[0][0] - points[1][0], points[0][1] - points[1][1]) > 0.01)
                this.#end(points);
        }
    }

    #onKey(event) {
        const step = kSteps[event.key]?.map(part => part * (event.shiftKey ? 0.1 : 0.01));
        const moved = place => place.map((part, axis) => bounded(part + step[axis]));
        const handle = event.target.dataset?.handle;
        if (handle !== undefined && step) {
            const {figure, index} = this.#pointOf(handle);
            figure.points[index] = moved(figure.points[index]);
            this.onMoved?.(figure.name, figure.points);
        } else if (!this.drawing) {
            return;
        } else if (step) {
            this.drawing.cross = moved(this.drawing.cross ?? [0.5, 0.5]);
        } else if (event.key === ' ') {
            this.#addCorner(this.drawing.cross ??= [0.5, 0.5]);
        } else if (event.key === 'Enter') {
            this.finish();
        } else if (event.key === 'Backspace') {
            this.takeLastPoint();
        } else {
            return;
        }
        event.preventDefault();
        this.#render();
    }

    #pointOf(handle) {
        const [name, index] = handle.split('|');
        return {figure: this.figures.find(figure => figure.name === name), index: +index};
    }

    #render() {
        const chosen = this.root.contains(document.activeElement) ? document.activeElement.dataset.handle : undefined;
        const shapes = this.figures.flatMap(figure => this.#shapesOf(figure));
        if (this.drawing)
            shapes.push(...this.#shapesOf({...this.drawing, name: ''}), ...this.drawing.points.map(dot), cross(this.drawing.cross));
        this.shapes.replaceChildren(...shapes.filter(shape => shape));
        const handles = this.drawing || !this.onMoved ? [] : this.figures.flatMap(
            figure => figure.points.map((point, index) => handleAt(point, figure, index)));
        this.root.replaceChildren(this.shapes, ...handles);
        if (chosen !== undefined)
            handles.find(handle => handle.dataset.handle === chosen)?.focus();
    }

    #shapesOf({name, shape, points}) {
        const kind = shape === 'polygon' && this.isExclusive ? 'polygon exclusive' : shape;
        return points.length === 0 ? [] : [outline(shape, points, `figure ${kind}`, nameOf(name))];
    }
}

const bounded = part => Math.min(Math.max(part, 0), 1);
const nameOf = name => kNames[name] ?? name;

function outline(shape, points, classes, title) {
    const scaled = points.map(([x, y]) => [x * kSize, y * kSize]);
    const corners = shape === 'box' && scaled.length === 2
        ? [scaled[0], [scaled[1][0], scaled[0][1]], scaled[1], [scaled[0][0], scaled[1][1]]]
        : scaled;
    const tag = shape === 'line' ? 'polyline' : 'polygon';
    return svgElement(tag, {class: classes, points: corners.join(' ')}, svgElement('title', {}, title));
}

// It stays round however the picture stretches: a line without length, with round ends.
function dot([x, y]) {
    return svgElement('path', {class: 'dot', d: `M ${x * kSize} ${y * kSize} h 0.01`});
}

function cross(place) {
    const [x, y] = (place ?? []).map(part => part * kSize);
    return place && svgElement('path', {class: 'figure cross', d: `M ${x - 30} ${y} h 60 M ${x} ${y - 30} v 60`});
}

function handleAt([x, y], {name, points}, index) {
    const handle = element('button', {type: 'button', class: 'handle', 'data-handle': `${name}|${index}`,
        'aria-label': `${nameOf(name)}: point ${index + 1} of ${points.length}, moved by the arrows`});
    handle.style.left = `${x * 100}%`;
    handle.style.top = `${y * 100}%`;
    return handle;
}
