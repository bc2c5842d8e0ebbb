// The figures over a camera's picture, and drawing them with the mouse: a box is dragged, a line has
// two points, a polygon as many as are clicked. Points of figures in the open dialog can be moved.

import {svgElement} from './dom.js';

const kSize = 1000; // of the coordinates inside; the picture's shape stretches them
const kNames = {cropBox: 'Region of interest', lineCrossingLine: 'Line'};

export class Overlay {
    constructor() {
        this.root = svgElement('svg', {
            class: 'overlay', viewBox: `0 0 ${kSize} ${kSize}`, preserveAspectRatio: 'none',
            'aria-hidden': 'true',
            onpointerdown: event => this.#onDown(event),
            onpointermove: event => this.#onMove(event),
            onpointerup: event => this.#onUp(event),
            ondblclick: () => this.#finish(),
        });
        this.figures = [];
        this.isExclusive = false;
        this.onMoved = null; // (name, points) where points can be moved
        this.drawing = null; // {shape, minPoints, maxPoints, points, resolve}
        this.moving = null; // {figure, index}
    }

    showFigures(figures, isExclusive, onMoved = null) {
        this.figures = figures;
        this.isExclusive = isExclusive;
        this.onMoved = onMoved;
        this.#render();
    }

    // Lets the user draw. Gives the points, or null when it was given up.
    draw(shape, minPoints, maxPoints) {
        this.cancel();
        return new Promise(resolve => {
            this.drawing = {shape, minPoints, maxPoints, points: [], resolve};
            this.root.classList.add('drawing');
            this.#render();
        });
    }

    cancel() {
        this.#end(null);
    }

    // Ends a polygon with the points it has.
    finish() {
        this.#finish();
    }

    #end(points) {
        const drawing = this.drawing;
        this.drawing = null;
        this.root.classList.remove('drawing');
        drawing?.resolve(points);
        this.#render();
    }

    #finish() {
        if (this.drawing?.shape === 'polygon' && this.drawing.points.length >= this.drawing.minPoints)
            this.#end(this.drawing.points);
    }

    #place(event) {
        const area = this.root.getBoundingClientRect();
        const part = (value, from, size) => Math.min(Math.max((value - from) / size, 0), 1);
        return [part(event.clientX, area.left, area.width), part(event.clientY, area.top, area.height)];
    }

    #onDown(event) {
        const place = this.#place(event);
        const handle = event.target.dataset?.handle;
        if (this.drawing) {
            const {shape, points, maxPoints} = this.drawing;
            this.root.setPointerCapture(event.pointerId);
            if (shape === 'polygon') {
                const last = points.at(-1); // a double click is one point
                if (!last || Math.hypot(last[0] - place[0], last[1] - place[1]) > 0.01)
                    points.push(place);
                if (points.length >= maxPoints)
                    this.#end(points);
            } else if (points.length === 0) {
                points.push(place, place);
            } else {
                points[1] = place;
            }
        } else if (handle !== undefined) {
            const [name, index] = handle.split('|');
            this.root.setPointerCapture(event.pointerId);
            this.moving = {figure: this.figures.find(figure => figure.name === name), index: +index};
        } else {
            return;
        }
        event.preventDefault();
        this.#render();
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

    #render() {
        const shapes = this.figures.flatMap(figure => this.#shapesOf(figure));
        if (this.drawing)
            shapes.push(...this.#shapesOf({...this.drawing, name: ''}));
        this.root.replaceChildren(...shapes);
    }

    #shapesOf({name, shape, points}) {
        if (points.length === 0)
            return [];
        const kind = shape === 'polygon' && this.isExclusive ? 'polygon exclusive' : shape;
        const shapes = [outline(shape, points, `figure ${kind}`, kNames[name] ?? name)];
        const areHandles = this.onMoved || !name;
        return areHandles
            ? shapes.concat(points.map((point, index) => handleAt(point, name ? `${name}|${index}` : null)))
            : shapes;
    }
}

function outline(shape, points, classes, title) {
    const scaled = points.map(([x, y]) => [x * kSize, y * kSize]);
    const corners = shape === 'box' && scaled.length === 2
        ? [scaled[0], [scaled[1][0], scaled[0][1]], scaled[1], [scaled[0][0], scaled[1][1]]]
        : scaled;
    const tag = shape === 'line' ? 'polyline' : 'polygon';
    return svgElement(tag, {class: classes, points: corners.join(' ')}, svgElement('title', {}, title));
}

// A dot that stays round however the picture stretches: a line without length, with round ends.
function handleAt([x, y], handle) {
    const line = svgElement('path', {class: 'handle', d: `M ${x * kSize} ${y * kSize} h 0.01`});
    if (handle)
        line.dataset.handle = handle;
    return line;
}
