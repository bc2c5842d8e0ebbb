// The panel's tabs: one panel shows at a time; the arrow keys go from tab to tab.

import {byId, element} from './dom.js';

export class Tabs {
    // panels: [{id, caption, root, show?(isShown), paint?()}]
    constructor(panels) {
        this.panels = panels;
        for (const panel of panels) {
            panel.tab = element('button', {type: 'button', role: 'tab', id: `tab-${panel.id}`,
                'aria-controls': `panel-${panel.id}`, onclick: () => this.open(panel.id)}, panel.caption);
            panel.box = element('div', {role: 'tabpanel', id: `panel-${panel.id}`,
                'aria-labelledby': `tab-${panel.id}`}, element('h2', {class: 'unseen'}, panel.caption), panel.root);
            byId('tabs').append(panel.tab);
            byId('panels').append(panel.box);
        }
        byId('tabs').addEventListener('keydown', event => this.#onKey(event));
        this.open(panels[0].id);
    }

    open(id) {
        this.current = this.panels.find(panel => panel.id === id);
        for (const panel of this.panels) {
            const isOpen = panel === this.current;
            panel.tab.setAttribute('aria-selected', String(isOpen));
            panel.tab.tabIndex = isOpen ? 0 : -1;
            panel.box.hidden = !isOpen;
            panel.show?.(isOpen);
        }
    }

    paint() {
        this.current.paint?.();
    }

    #onKey(event) {
        const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
        if (!step)
            return;
        const index = this.panels.indexOf(this.current);
        const next = this.panels[(index + step + this.panels.length) % this.panels.length];
        this.open(next.id);
        next.tab.focus();
    }
}
