// The items of a settings model, each type drawn as an element. `form` is the dialog that the items
// belong to: value(name), setValue(name, value), press(name), figures. A type that is not known here
// shows as itself.

import {element} from '../dom.js';
import {figureItem} from './figure_item.js';

let nextId = 0;

const kTypes = {
    Banner: item => element('div', {class: `banner ${item.icon === 'warning' ? 'warning' : 'info'}`},
        element('span', {class: 'sign', 'aria-hidden': 'true'}, item.icon === 'warning' ? '⚠' : 'ℹ'),
        element('p', {}, item.text ?? '')),
    Link: item => /^https?:/.test(item.url ?? '')
        ? element('p', {}, element('a', {href: item.url, target: '_blank', rel: 'noopener noreferrer'},
            item.caption ?? item.url))
        : element('p', {}, item.caption ?? ''),
    Separator: () => element('hr'),
    SwitchButton: (item, form) => checkItem(item, form, {role: 'switch'}),
    CheckBox: (item, form) => checkItem(item, form, {}),
    ComboBox: comboItem,
    SpinBox: (item, form) => numberItem(item, form, 1),
    DoubleSpinBox: (item, form) => numberItem(item, form, 'any'),
    TextField: textItem,
    Button: buttonItem,
    Row: (item, form) => element('div', {class: 'row'}, ...drawItems(item.items, form)),
    GroupBox: groupItem,
    Repeater: repeaterItem,
    BoxFigure: (item, form) => figureItem(item, form, 'box', 2, 2),
    LineFigure: (item, form) => figureItem(item, form, 'line', 2, 2),
    PolygonFigure: (item, form) => figureItem(item, form, 'polygon', item.minPoints ?? 3, item.maxPoints ?? 8),
};

// The elements of the items that are visible.
export function drawItems(items, form) {
    return (items ?? []).filter(item => item.visible !== false).flatMap(
        item => (kTypes[item.type] ?? unknownItem)(item, form) ?? []);
}

// A setting's value in its model: what was entered, else what the model begins with.
function valueOf(item, form) {
    return form.value(item.name) ?? String(item.defaultValue ?? '');
}

const isActive = item => String(item.isActive) === 'true';

// A value that the user has changed. An active setting answers at once.
function change(item, form, value) {
    form.setValue(item.name, value);
    if (isActive(item))
        form.press(item.name);
}

// A label with its control, the explanation below, and what the library says against the value.
function field(item, form, control, ...beside) {
    control.id = `setting-${++nextId}`;
    control.dataset.setting = item.name;
    const description = item.description
        ? element('p', {class: 'description', id: `${control.id}-description`}, item.description)
        : null;
    if (description)
        control.setAttribute('aria-describedby', description.id);
    const error = form.error(item.name);
    return element('div', {class: 'field'},
        element('label', {for: control.id}, item.caption ?? item.name),
        element('div', {class: 'control'}, control, ...beside),
        description,
        error ? element('p', {class: 'error'}, error) : null);
}

function checkItem(item, form, attributes) {
    const box = element('input', {type: 'checkbox', ...attributes,
        onchange: () => change(item, form, String(box.checked))});
    box.checked = valueOf(item, form) === 'true';
    const drawn = field(item, form, box);
    drawn.classList.add('check');
    return drawn;
}

function comboItem(item, form) {
    const list = element('select', {onchange: () => change(item, form, list.value)});
    const value = valueOf(item, form);
    const range = item.range ?? [];
    for (const choice of range.includes(value) ? range : [value, ...range])
        list.append(element('option', {value: choice}, item.itemCaptions?.[choice] ?? choice));
    list.value = value;
    return field(item, form, list);
}

function numberItem(item, form, step) {
    const box = element('input', {type: 'number', min: item.minValue, max: item.maxValue,
        step: Number.isInteger(item.step) ? 1 : item.step ?? step,
        onchange: () => {
            const bounded = Math.min(Math.max(Number(box.value), item.minValue ?? -Infinity),
                item.maxValue ?? Infinity);
            box.value = bounded;
            change(item, form, box.value);
        }});
    box.value = valueOf(item, form);
    return field(item, form, box,
        item.suffix ? element('span', {class: 'suffix'}, item.suffix) : null);
}

function textItem(item, form) {
    const box = element('input', {type: 'text', onchange: () => change(item, form, box.value)});
    box.value = valueOf(item, form);
    return field(item, form, box);
}

function buttonItem(item, form) {
    return element('button', {type: 'button', title: item.description, 'data-setting': item.name,
        onclick: () => form.press(item.name)}, item.caption ?? item.name);
}

let depth = 0; // of groups in groups

// A group without items is the heading of what follows.
function groupItem(item, form) {
    ++depth;
    const drawn = drawItems(item.items, form);
    --depth;
    const heading = item.caption ? element(`h${Math.min(3 + depth, 6)}`, {}, item.caption) : null;
    const description = item.description ? element('p', {class: 'description'}, item.description) : null;
    if (drawn.length === 0)
        return (item.items ?? []).length === 0 ? element('div', {class: 'heading'}, heading, description) : null;
    return element('section', {class: 'group'}, heading, description, ...drawn);
}

// The groups that are filled, and one to fill next.
function repeaterItem(item, form) {
    const groups = [];
    for (let number = 1; number <= (item.count ?? 0); ++number) {
        const template = JSON.parse(JSON.stringify(item.template).replaceAll('#', number));
        groups.push(...drawItems([template], form));
        if (!(template.filledCheckItems ?? []).some(name => form.isFilled(name)))
            break;
    }
    return element('div', {class: 'repeater'}, ...groups);
}

function unknownItem(item) {
    return element('details', {class: 'unknown'},
        element('summary', {}, `${item.type ?? 'No type'}: ${item.caption ?? item.name ?? ''}`),
        element('pre', {}, JSON.stringify(item, null, 2)));
}
