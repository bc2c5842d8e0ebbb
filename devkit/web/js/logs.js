// The logs of the library, the application and its engine, as they grow.

import {element} from './dom.js';

const kKept = 1000;
const kNames = {library: 'Library', application: 'Application', engine: 'Engine'};

export class LogsPanel {
    constructor() {
        this.logs = new Map(Object.keys(kNames).map(name => [name, []]));
        this.isDirty = true;
        const redraw = () => this.#redraw();
        this.choice = element('select', {id: 'log-choice', onchange: redraw},
            ...Object.entries(kNames).map(([value, name]) => element('option', {value}, name)));
        this.filter = element('input', {id: 'log-filter', type: 'search', oninput: redraw});
        this.follow = element('input', {id: 'log-follow', type: 'checkbox', checked: true, onchange: redraw});
        this.text = element('pre', {class: 'log', tabindex: '0', 'aria-label': 'Log'});
        this.root = element('div', {},
            element('div', {class: 'filters'},
                element('label', {for: 'log-choice'}, 'Log'), this.choice,
                element('label', {for: 'log-filter'}, 'With'), this.filter,
                this.follow, element('label', {for: 'log-follow'}, 'Follow')),
            this.text);
    }

    // A page that connects anew is told the last lines anew.
    restart() {
        for (const lines of this.logs.values())
            lines.length = 0;
    }

    add(name, added) {
        const lines = this.logs.get(name);
        if (!lines)
            return;
        lines.push(...added);
        lines.splice(0, Math.max(0, lines.length - kKept));
        this.isDirty = this.isDirty || name === this.choice.value;
    }

    paint() {
        if (!this.isDirty || !this.follow.checked)
            return;
        this.isDirty = false;
        const wanted = this.filter.value.toLowerCase();
        const lines = this.logs.get(this.choice.value).filter(line => line.toLowerCase().includes(wanted));
        this.text.textContent = lines.join('\n') || 'Nothing yet.';
        this.text.scrollTop = this.text.scrollHeight;
    }

    #redraw() {
        this.isDirty = true;
        this.paint();
    }
}
