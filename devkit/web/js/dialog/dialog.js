// A settings dialog, drawn from the model that the library returns. Entered values wait for Apply;
// an active setting goes to the library at once, and its answer is what the dialog shows next.

import {element, notify} from '../dom.js';
import {readFigure, writeFigure} from '../figures.js';
import {drawItems} from './items.js';

export class Dialog {
    // door: {refresh(), apply(values), press(name, values)}, each giving the library's answer.
    // overlay: of the camera's picture, or null. onFigures(figures) when they are drawn anew.
    constructor(door, overlay = null, onFigures = () => {}) {
        this.door = door;
        this.pictureOverlay = overlay;
        this.onFigures = onFigures;
        this.model = null;
        this.values = {};
        this.changed = new Map(); // entered and not applied yet
        this.errors = {};
        this.figures = [];
        this.requests = 0;

        this.items = element('div', {class: 'items'});
        this.failure = element('p', {class: 'error', hidden: true});
        this.applyButton = element('button', {type: 'button', class: 'primary', 'data-action': 'apply',
            onclick: () => this.apply()}, 'Apply');
        this.refreshButton = element('button', {type: 'button', 'data-action': 'refresh',
            onclick: () => this.refresh()}, 'Refresh');
        this.hint = element('span', {class: 'hint'});
        this.root = element('div', {class: 'dialog'},
            element('div', {class: 'actions'}, this.applyButton, this.refreshButton, this.hint),
            this.failure, this.items);
    }

    refresh() {
        return this.#ask(() => this.door.refresh());
    }

    async apply() {
        const sent = new Map(this.changed);
        const isApplied = await this.#ask(() => this.door.apply(Object.fromEntries(this.#all())));
        if (!isApplied)
            return;
        for (const [name, value] of sent) {
            if (this.changed.get(name) === value)
                this.changed.delete(name);
        }
        this.#draw();
        notify('Settings applied.');
    }

    async press(name) {
        const answer = await this.#ask(() => this.door.press(name, Object.fromEntries(this.#all())), true);
        if (!answer)
            return;
        if (answer.messageToUser)
            notify(answer.messageToUser);
        if (/^https?:/.test(answer.actionUrl))
            window.open(answer.actionUrl, '_blank', 'noopener,noreferrer');
    }

    // What items ask of their form.
    value(name) {
        return this.changed.get(name) ?? this.values[name];
    }

    error(name) {
        return this.errors[name];
    }

    isFilled(name) {
        const value = this.value(name) ?? '';
        return value.startsWith('{') ? readFigure(value).length > 0 : value !== '';
    }

    setValue(name, value, isShapeChange = false) {
        if (value === this.values[name])
            this.changed.delete(name);
        else
            this.changed.set(name, value);
        if (isShapeChange)
            this.#draw();
        else
            this.#showChanged();
    }

    // A figure whose points were moved on the picture.
    movePoints(name, points) {
        this.setValue(name, writeFigure(points), true);
    }

    addFigure(figure) {
        this.figures.push(figure);
    }

    overlay() {
        return this.pictureOverlay;
    }

    // Everything that is entered: a setting that nobody touched has its model's own value.
    #all() {
        const all = new Map(Object.entries(defaultsOf(this.model?.items)));
        for (const [name, value] of Object.entries(this.values))
            all.set(name, value);
        for (const [name, value] of this.changed)
            all.set(name, value);
        return all;
    }

    // Gives the answer, or null when there was none. One that another request has overtaken only
    // counts for what it was asked for.
    async #ask(request, isPress = false) {
        const number = ++this.requests;
        this.root.setAttribute('aria-busy', 'true');
        try {
            const answer = await request();
            if (answer.failure)
                throw new Error(answer.failure);
            if (number === this.requests)
                this.#take(answer, isPress);
            return answer;
        } catch (error) {
            this.failure.textContent = error.message;
            this.failure.hidden = false;
            return null;
        } finally {
            if (number === this.requests)
                this.root.removeAttribute('aria-busy');
        }
    }

    // Values that come back from a press are entered, not applied.
    #take(answer, isPress) {
        this.failure.hidden = true;
        this.errors = answer.errors;
        if (isPress) {
            const before = Object.fromEntries(this.#all());
            for (const [name, value] of Object.entries(answer.values)) {
                if (value !== before[name])
                    this.changed.set(name, value);
            }
        } else {
            this.values = answer.values;
        }
        if (answer.model)
            this.model = answer.model;
        this.#draw();
    }

    #draw() {
        const focused = document.activeElement?.dataset?.setting;
        this.figures = [];
        this.items.replaceChildren(...drawItems(this.model?.items, this));
        if (focused)
            this.items.querySelector(`[data-setting="${CSS.escape(focused)}"]`)?.focus();
        this.onFigures(this.figures);
        this.#showChanged();
    }

    #showChanged() {
        const count = this.changed.size;
        this.hint.textContent = count === 0 ? '' : `${count} changed, not applied yet`;
        this.applyButton.classList.toggle('due', count > 0);
    }
}

// The values that a model begins with, by setting.
function defaultsOf(items) {
    const defaults = {};
    for (const item of items ?? []) {
        if (item.name && item.defaultValue !== undefined && item.type !== 'Button')
            defaults[item.name] = String(item.defaultValue);
        Object.assign(defaults, defaultsOf(item.items));
    }
    return defaults;
}
