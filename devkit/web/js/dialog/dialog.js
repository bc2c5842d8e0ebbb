// A settings dialog, drawn from the model that the library returns. Entered values wait for Apply;
// an active setting goes to the library at once, and its answer is what the dialog shows next.

import {element, notify} from '../dom.js';
import {readFigure, writeFigure, writePercent} from '../figures.js';
import {drawItems} from './items.js';

export class Dialog {
    // door: {refresh(), apply(values, version), press(name, values)}, each giving the library's answer.
    // overlay: of the camera's picture, or null. onChange() when figures or entered values change.
    constructor(door, overlay = null, onChange = () => {}) {
        this.door = door;
        this.pictureOverlay = overlay;
        this.onChange = onChange;
        this.model = null;
        this.values = {};
        this.version = ''; // of the values
        this.meanwhile = new Map(); // what others have changed since something was entered: as it was
        this.changed = new Map(); // entered and not applied yet
        this.errors = {};
        this.figures = [];
        this.earlier = []; // [name, value] of figures, before each change
        this.waiting = 0; // requests that are not answered yet
        this.last = Promise.resolve(); // the answer to the last of them

        this.items = element('div', {class: 'items'});
        this.news = element('div', {class: 'news', role: 'alert', hidden: true});
        this.failure = element('p', {class: 'error', hidden: true});
        this.applyButton = element('button', {type: 'button', class: 'primary', 'data-action': 'apply',
            onclick: () => this.apply()}, 'Apply');
        this.refreshButton = element('button', {type: 'button', 'data-action': 'refresh',
            onclick: () => this.refresh()}, 'Refresh');
        this.hint = element('span', {class: 'hint'});
        this.root = element('div', {class: 'dialog'},
            element('div', {class: 'actions'}, this.applyButton, this.refreshButton, this.hint),
            this.failure, this.news, this.items);
    }

    refresh() {
        return this.#ask(() => this.door.refresh(), answer => this.#takeValues(answer));
    }

    async apply() {
        let sent;
        const answer = await this.#ask(() => {
            sent = new Map(this.changed);
            return this.door.apply(Object.fromEntries(this.#all()), this.version);
        }, taken => this.#takeValues(taken, !taken.isOutdated));
        if (answer?.isOutdated)
            await this.refresh(); // for the model of what is so now
        if (!answer || answer.isOutdated)
            return;
        for (const [name, value] of sent) {
            if (this.changed.get(name) === value)
                this.changed.delete(name);
        }
        this.#draw();
        notify('Settings applied.');
    }

    async press(name) {
        const answer = await this.#ask(() => this.door.press(name, Object.fromEntries(this.#all())),
            taken => this.#takeEntered(taken.values));
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
        if (value === (this.values[name] ?? writeFigure([])))
            this.changed.delete(name);
        else
            this.changed.set(name, value);
        if (isShapeChange)
            this.#draw();
        else
            this.#showChanged();
    }

    // A figure that was drawn, moved on the picture or taken away.
    setPoints(name, points) {
        this.earlier.push([name, this.value(name) ?? writeFigure([])]);
        this.setValue(name, writeFigure(points), true);
    }

    // Takes back the last change of a figure.
    undo() {
        if (this.earlier.length > 0)
            this.setValue(...this.earlier.pop(), true);
    }

    // Whether there is something that would be lost with this dialog.
    isPending() {
        return this.changed.size > 0 || Boolean(this.pictureOverlay?.drawing);
    }

    redraw() {
        this.#draw();
    }

    // A control of the setting, or where the dialog begins.
    focusOn(name) {
        (this.items.querySelector(`[data-setting="${CSS.escape(name)}"]`) ?? this.refreshButton).focus();
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

    // Gives the answer, or null when there was none. Requests go one after the other: what a button's
    // answer enters is a part of what is applied next.
    #ask(request, take) {
        ++this.waiting;
        this.root.setAttribute('aria-busy', 'true');
        this.last = this.last.then(() => this.#answer(request, take));
        return this.last;
    }

    async #answer(request, take) {
        try {
            const answer = await request();
            if (answer.failure)
                throw new Error(answer.failure);
            this.failure.hidden = true;
            this.errors = answer.errors;
            this.model = answer.model ?? this.model;
            take(answer);
            this.#draw();
            return answer;
        } catch (error) {
            this.failure.textContent = error.message;
            this.failure.hidden = false;
            return null;
        } finally {
            if (--this.waiting === 0)
                this.root.removeAttribute('aria-busy');
        }
    }

    // Values that come back from a press are entered, not applied.
    #takeEntered(values) {
        const before = Object.fromEntries(this.#all());
        for (const [name, value] of Object.entries(values)) {
            if (value !== before[name])
                this.changed.set(name, value);
        }
    }

    // What is entered here stays, and what others have changed meanwhile is told.
    #takeValues({values, version}, areOwn = false) {
        for (const [name, value] of this.changed) {
            if (value === values[name])
                this.changed.delete(name);
        }
        if (areOwn || this.changed.size === 0)
            this.meanwhile.clear();
        else
            for (const name of Object.keys({...this.values, ...values}))
                if (this.values[name] !== values[name] && !this.meanwhile.has(name))
                    this.meanwhile.set(name, this.values[name]);
        this.values = values;
        this.version = version;
        const lines = [...this.meanwhile].filter(([name, was]) => was !== values[name]).map(([name, was]) =>
            element('li', {}, `${captionOf(name, this.model?.items) ?? name}: ${shown(was)} → ${shown(values[name])}`
                + (this.changed.has(name) ? `; you entered ${shown(this.changed.get(name))}` : '')));
        this.news.hidden = lines.length === 0;
        this.news.replaceChildren(element('p', {}, 'Changed meanwhile by others. “Apply” puts what you entered over it.'),
            element('ul', {}, ...lines));
    }

    #draw() {
        const {setting, clear} = this.items.contains(document.activeElement) ? document.activeElement.dataset : {};
        this.figures = [];
        this.items.replaceChildren(...drawItems(this.model?.items, this));
        if (setting ?? clear)
            this.focusOn(setting ?? clear);
        this.#showChanged();
    }

    #showChanged() {
        const count = this.changed.size;
        this.hint.textContent = count === 0 ? '' : `${count} changed, not applied yet`;
        this.applyButton.classList.toggle('due', count > 0);
        this.onChange();
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

// As a person reads it.
function shown(value = '') {
    return (value.startsWith('{') ? writePercent(readFigure(value)) : value) || 'nothing';
}

function captionOf(name, items = []) {
    for (const item of items) {
        const caption = item.name === name ? item.caption : captionOf(name, item.items);
        if (caption)
            return caption;
    }
    return undefined;
}
