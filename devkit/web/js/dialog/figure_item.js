// A figure of a settings model: drawn on the picture, or entered as numbers.

import {element} from '../dom.js';
import {readFigure, readPercent, writePercent} from '../figures.js';

let nextId = 0;

const kHints = {
    box: 'Drag a box over the picture.',
    line: 'Drag the line over the picture.',
    polygon: 'Click the corners on the picture; a double click or “Finish” ends.',
};
const kKeysHint = ' By keyboard: arrows, Space for a point, Enter; Backspace or Ctrl+Z takes the last point.';

export function figureItem(item, form, shape, minPoints, maxPoints) {
    const points = readFigure(form.value(item.name) ?? '');
    const id = `figure-${++nextId}`;
    const overlay = form.overlay();
    const isDrawing = overlay?.drawing?.name === item.name;
    form.addFigure({name: item.name, shape, points});

    const setPoints = drawn => form.setPoints(item.name, drawn);
    const begin = async () => {
        const drawing = overlay.draw(item.name, shape, minPoints, maxPoints);
        form.redraw();
        const drawn = await drawing;
        if (drawn)
            setPoints(drawn);
        else
            form.redraw();
        if (!overlay.drawing)
            form.focusOn(item.name);
    };
    const button = (attributes, caption) => element('button', {type: 'button', ...attributes}, caption);
    const drawButtons = isDrawing
        ? [shape === 'polygon' ? button({onclick: () => overlay.finish()}, 'Finish') : null,
            button({onclick: () => overlay.cancel()}, 'Cancel')]
        : [overlay ? button({'data-draw': item.name, onclick: begin}, points.length > 0 ? 'Draw anew' : 'Draw') : null,
            points.length > 0 ? button({'data-clear': item.name, onclick: () => setPoints([])}, 'Clear') : null];

    const numbers = element('input', {type: 'text', id, 'data-setting': item.name, spellcheck: 'false',
        placeholder: 'none', onchange: () => {
            const entered = readPercent(numbers.value);
            const isRight = entered
                && (entered.length === 0 || (entered.length >= minPoints && entered.length <= maxPoints));
            numbers.setCustomValidity(isRight ? '' : `${minPoints} to ${maxPoints} points: x,y x,y ... in percent`);
            if (numbers.reportValidity())
                setPoints(entered);
        }});
    numbers.value = writePercent(points);
    return element('div', {class: 'field figure-field'},
        element('label', {for: id}, item.caption ?? 'Corners', element('span', {class: 'unit'}, ' x,y in %')),
        element('div', {class: 'control'}, numbers, ...drawButtons),
        isDrawing ? element('p', {class: 'hint', role: 'status'}, kHints[shape] + kKeysHint) : null,
        item.description ? element('p', {class: 'description'}, item.description) : null);
}
