// Making and filling elements. Texts are always texts, never markup.

// element('button', {class: 'x', type: 'button', onclick: f, disabled: true}, 'text', child...)
export function element(tag, attributes = {}, ...children) {
    return fill(document.createElement(tag), attributes, children);
}

export function svgElement(tag, attributes = {}, ...children) {
    return fill(document.createElementNS('http://www.w3.org/2000/svg', tag), attributes, children);
}

function fill(node, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (value === undefined || value === null || value === false)
            continue;
        if (typeof value === 'function')
            node.addEventListener(name.slice(2), value);
        else
            node.setAttribute(name, value === true ? '' : value);
    }
    node.append(...children.filter(child => child !== null && child !== undefined));
    return node;
}

export function byId(id) {
    return document.getElementById(id);
}

let noticeTimer = 0;

// A short word to the user, which goes by itself.
export function notify(text) {
    const notice = byId('notice');
    notice.textContent = text;
    notice.hidden = false;
    clearTimeout(noticeTimer);
    noticeTimer = setTimeout(() => notice.hidden = true, 6000);
}
