// A span of the chosen camera's last minutes: its metadata as JSON lines, and a clip of it with what
// was found drawn into it.

import {readClip, readMetadata} from './api.js';
import {element, notify} from './dom.js';

export class SpanPanel {
    // hostNowUs(): the host's clock.
    constructor(hostNowUs) {
        this.hostNowUs = hostNowUs;
        this.device = null;
        this.span = null;
        const quick = [10, 30, 60].map(seconds => element('button', {type: 'button', 'data-last': seconds,
            onclick: () => this.#setLast(seconds)}, `Last ${seconds} s`));
        this.fromButton = element('button', {type: 'button', onclick: () => this.#mark('fromUs')}, 'Begin now');
        this.toButton = element('button', {type: 'button', onclick: () => this.#mark('toUs')}, 'End now');
        this.text = element('p', {class: 'hint'}, 'Choose a span.');
        this.metadataButton = element('button', {type: 'button', 'data-action': 'metadata', disabled: true,
            onclick: () => this.#fetch(readMetadata, 'metadata.jsonl')}, 'Metadata');
        this.clipButton = element('button', {type: 'button', 'data-action': 'clip', disabled: true,
            onclick: () => this.#fetch(readClip, 'clip.mp4')}, 'Clip');
        this.result = element('div', {class: 'span-result'});
        this.root = element('div', {},
            element('p', {}, 'The host keeps five minutes of metadata, and the pictures of cameras that somebody looked at.'),
            element('div', {class: 'row'}, ...quick),
            element('div', {class: 'row'}, this.fromButton, this.toButton),
            this.text,
            element('div', {class: 'row'}, this.metadataButton, this.clipButton),
            this.result);
    }

    setDevice(device) {
        this.device = device;
        this.result.replaceChildren();
    }

    #setLast(seconds) {
        const nowUs = this.hostNowUs();
        this.#set({fromUs: nowUs - seconds * 1e6, toUs: nowUs});
    }

    #mark(end) {
        const nowUs = this.hostNowUs();
        const span = {...(this.span ?? {fromUs: nowUs, toUs: nowUs}), [end]: nowUs};
        if (span.toUs < span.fromUs)
            span.toUs = span.fromUs;
        this.#set(span);
    }

    #set(span) {
        this.span = span;
        const clock = us => new Date(us / 1000).toLocaleTimeString();
        this.text.textContent = `${clock(span.fromUs)} to ${clock(span.toUs)}, `
            + `${((span.toUs - span.fromUs) / 1e6).toFixed(1)} s`;
        this.metadataButton.disabled = this.clipButton.disabled = span.toUs <= span.fromUs;
    }

    async #fetch(read, name) {
        if (!this.device)
            return notify('Choose a camera first.');
        this.result.replaceChildren(element('p', {class: 'hint'}, 'Fetching…'));
        try {
            const blob = await read(this.device, this.span);
            await this.#showResult(blob, name);
        } catch (error) {
            this.result.replaceChildren(element('p', {class: 'error'}, error.message));
        }
    }

    async #showResult(blob, name) {
        if (this.url)
            URL.revokeObjectURL(this.url);
        this.url = URL.createObjectURL(blob);
        const download = element('a', {href: this.url, download: name, class: 'download'},
            `Save ${name} (${(blob.size / 1024).toFixed(0)} KB)`);
        const text = name.endsWith('.jsonl') ? await blob.text() : null;
        const preview = text === null
            ? element('video', {src: this.url, controls: true, muted: true, 'aria-label': 'The clip'})
            : element('pre', {tabindex: '0', 'aria-label': 'The metadata'}, text.split('\n').slice(0, 200).join('\n'));
        const count = text === null ? null : element('p', {class: 'hint'}, `${text.split('\n').length - 1} lines`);
        this.result.replaceChildren(...[download, count, preview].filter(part => part));
    }
}
