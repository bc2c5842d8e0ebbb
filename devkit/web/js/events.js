// The events as they come, the newest first, by type and camera.

import {element} from './dom.js';

const kKept = 500;
const kShown = 200;
// They come with every result; whoever wants them says so.
const kReadings = ['tavo.orlix.fps', 'tavo.orlix.counted'];

export class EventsPanel {
    constructor(cameraName) {
        this.cameraName = cameraName;
        this.events = [];
        this.typeNames = new Map();
        this.isDirty = false;
        this.types = element('select', {id: 'event-type', onchange: () => this.#redraw()},
            element('option', {value: ''}, 'All but readings'), element('option', {value: '*'}, 'All'));
        this.cameras = element('select', {id: 'event-camera', onchange: () => this.#redraw()},
            element('option', {value: ''}, 'All cameras'));
        this.list = element('ol', {class: 'events'});
        this.root = element('div', {},
            element('div', {class: 'filters'},
                element('label', {for: 'event-type'}, 'Type'), this.types,
                element('label', {for: 'event-camera'}, 'Camera'), this.cameras),
            element('div', {role: 'log', 'aria-label': 'Events', tabindex: '0'}, this.list));
    }

    setCameras(cameras) {
        const chosen = this.cameras.value;
        this.cameras.replaceChildren(element('option', {value: ''}, 'All cameras'),
            ...cameras.map(camera => element('option', {value: camera.id}, camera.name)));
        this.cameras.value = cameras.some(camera => camera.id === chosen) ? chosen : '';
    }

    addManifest(manifest) {
        for (const {id, name} of manifest?.eventTypes ?? []) {
            if (this.typeNames.has(id))
                continue;
            this.typeNames.set(id, name);
            this.types.append(element('option', {value: id}, name));
        }
    }

    addResult(device, result) {
        for (const event of result.events)
            this.#add({device, timestampUs: result.timestampUs, ...event});
    }

    addDiagnostic(message) {
        this.#add({
            device: message.device ?? '', timestampUs: message.receivedUs, typeId: 'diagnostic',
            caption: message.caption, description: message.description});
    }

    // To be called before a repaint, where the panel shows.
    paint() {
        if (!this.isDirty)
            return;
        this.isDirty = false;
        const shown = this.events.filter(event => this.#passes(event)).slice(-kShown).reverse();
        const known = new Map([...this.list.children].map(item => [item.dataset.number, item]));
        const items = shown.map(event => known.get(String(event.number)) ?? this.#item(event));
        if (items.length === 0)
            this.list.replaceChildren(element('li', {class: 'none'}, 'No event yet.'));
        else
            this.list.replaceChildren(...items);
    }

    #add(event) {
        event.number = this.nextNumber = (this.nextNumber ?? 0) + 1;
        // Readings would push out what is rare.
        const isReading = kReadings.includes(event.typeId);
        this.events.push(event);
        if (this.events.length > kKept) {
            const index = isReading
                ? this.events.findIndex(kept => kReadings.includes(kept.typeId)) : -1;
            this.events.splice(Math.max(index, 0), 1);
        }
        this.isDirty = true;
    }

    #passes(event) {
        const type = this.types.value;
        const isOfType = type === '*' || (type === '' ? !kReadings.includes(event.typeId) : event.typeId === type);
        return isOfType && (this.cameras.value === '' || event.device === this.cameras.value);
    }

    #redraw() {
        this.isDirty = true;
        this.paint();
    }

    #item(event) {
        const time = new Date(event.timestampUs / 1000);
        return element('li', {'data-number': event.number, 'data-type': event.typeId},
            element('time', {datetime: time.toISOString()}, time.toLocaleTimeString()),
            element('span', {class: 'where'}, this.cameraName(event.device)),
            element('strong', {}, event.caption),
            element('span', {}, event.description.trim().replaceAll('\n', ', ')));
    }
}
