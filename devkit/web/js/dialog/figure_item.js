// A figure of a settings model: drawn on the picture with the mouse, or entered as numbers.

import {element} from '../dom.js';
import {readFigure, readPercent, writeFigure, writePercent} from '../figures.js';

let nextId = 0;

const kHints = {
    box: 'Drag a box over the picture.',
    line: 'Drag the line over the picture.',
    polygon: 'Click the corners on the picture; a double click or “Finish” ends.',
};

export function figureItem(item, form, shape, minPoints, maxPoints) {
    const points = readFigure(form.value(item.name) ?? '');
    const id = `figure-${++nextId}`;
    form.addFigure({name: item.name, shape, points});

    const setPoints = drawn => form.setValue(item.name, writeFigure(drawn), true);
    const hint = element('p', {class: 'hint', hidden: true}, kHints[shape]);
    const draw = element('button', {type: 'button', 'data-draw': item.name}, points.length > 0 ? 'Draw anew' : 'Draw');
    const finish = element('button', {type: 'button', hidden: true, onclick: () => form.overlay().finish()}, 'Finish');
    const stop = element('button', {type: 'button', hidden: true, onclick: () => form.overlay().cancel()}, 'Cancel');
    draw.addEventListener('click', async () => {
        draw.hidden = true;
        hint.hidden = stop.hidden = false;
        finish.hidden = shape !== 'polygon';
        const drawn = await form.overlay().draw(shape, minPoints, maxPoints);
        draw.hidden = false;
        hint.hidden = stop.hidden = finish.hidden = true;
        if (drawn)
            setPoints(drawn);
    });

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
        element('div', {class: 'control'}, numbers, draw, finish, stop,
            points.length > 0
                ? element('button', {type: 'button', 'data-clear': item.name, onclick: () => setPoints([])}, 'Clear')
                : null),
        hint,
        item.description ? element('p', {class: 'description'}, item.description) : null);
}
