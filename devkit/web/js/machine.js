// How far the machine has come, what the library has on its board, and the engine's own dialog.

import {engineDialog, readBoard} from './api.js';
import {Dialog} from './dialog/dialog.js';
import {element} from './dom.js';

const kSigns = {done: '✓', working: '…', waiting: '☝', failed: '✕', pending: '·'};
const kWords = {done: 'done', working: 'working', waiting: 'waits for you', failed: 'failed', pending: 'not yet'};
const kBoardPeriodMs = 3000;

export class MachinePanel {
    constructor() {
        this.ladder = element('ol', {class: 'ladder'});
        this.board = element('div', {class: 'board'}, element('p', {class: 'hint'}, 'Asking…'));
        this.memory = element('p', {class: 'hint'});
        this.engine = new Dialog(engineDialog());
        this.isShown = false;
        this.root = element('div', {},
            element('h3', {}, 'Start-up'), this.ladder,
            element('h3', {}, 'Board'), this.board,
            element('h3', {}, 'Engine'), this.engine.root,
            this.memory);
    }

    setStatus(status) {
        this.ladder.replaceChildren(...status.ladder.map(rung => element('li', {'data-state': rung.state},
            element('span', {class: 'sign', 'aria-hidden': 'true'}, kSigns[rung.state]),
            element('div', {},
                element('strong', {}, rung.title),
                element('span', {class: 'state'}, ` ${kWords[rung.state]}`),
                element('p', {}, rung.detail)))));
        this.memory.textContent = `The host takes ${(status.memoryBytes / 1e6).toFixed(0)} MB of memory.`;
    }

    // The library is only asked while somebody looks.
    show(isShown) {
        if (isShown === this.isShown)
            return;
        this.isShown = isShown;
        if (!isShown)
            return;
        this.engine.refresh();
        this.#followBoard();
    }

    async #followBoard() {
        while (this.isShown) {
            try {
                const banners = await readBoard();
                this.board.replaceChildren(...banners.map(({icon, text}) => element('div',
                    {class: `banner ${icon === 'warning' ? 'warning' : 'info'}`}, element('p', {}, text))));
                if (banners.length === 0)
                    this.board.replaceChildren(element('p', {class: 'hint'}, 'Nothing is on the board.'));
            } catch (error) {
                this.board.replaceChildren(element('p', {class: 'error'}, error.message));
            }
            await new Promise(resolve => setTimeout(resolve, kBoardPeriodMs));
        }
    }
}

// The rung that the machine stands on: the first that is not done, else the last.
export function currentRung(ladder) {
    return ladder.find(rung => rung.state !== 'done') ?? ladder.at(-1);
}
