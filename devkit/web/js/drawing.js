// Boxes on a canvas.

const kColours = ['#ff5252', '#40c4ff', '#69f0ae', '#ffd740', '#e040fb', '#ff9100', '#18ffff', '#b2ff59'];
const kAttributesFrom = 560; // on narrower pictures they would cover what they tell of

export function trackColour(trackId) {
    let hash = 0;
    for (const letter of trackId)
        hash = (hash * 31 + letter.charCodeAt(0)) >>> 0;
    return kColours[hash % kColours.length];
}

// "tavo.orlix.traffic_light" is a traffic light.
export function className(typeId) {
    return typeId.slice(typeId.lastIndexOf('.') + 1).replaceAll('_', ' ');
}

export function shortTrack(trackId) {
    return trackId.slice(0, 4);
}

export function drawObjects(context, width, height, objects, scale) {
    context.lineWidth = 2 * scale;
    for (const object of objects) {
        const [x, y, w, h] = object.box;
        context.strokeStyle = trackColour(object.trackId);
        context.strokeRect(x * width, y * height, w * width, h * height);
    }
    for (const object of objects)
        drawLabel(context, object, object.box[0] * width, object.box[1] * height, width, scale);
}

// The class and the track, and smaller the attributes if there is room, above the box's corner.
function drawLabel(context, object, boxLeft, bottom, width, scale) {
    const lines = [{text: `${className(object.typeId)} ${shortTrack(object.trackId)}`, size: 11, weight: 600}];
    for (const {name, value} of width / scale < kAttributesFrom ? [] : object.attributes ?? [])
        lines.push({text: `${name} ${value}`, size: 9, weight: 400});
    for (const line of lines)
        line.font = `${line.weight} ${line.size * scale}px system-ui, sans-serif`;
    const labelWidth = Math.max(...lines.map(line => {
        context.font = line.font;
        return context.measureText(line.text).width;
    })) + 6 * scale;
    const labelHeight = lines.reduce((sum, line) => sum + line.size * 1.25, 2) * scale;
    const left = Math.max(Math.min(boxLeft, width - labelWidth), 0);
    let top = Math.max(bottom - labelHeight, 0);
    context.globalAlpha = 0.85;
    context.fillStyle = trackColour(object.trackId);
    context.fillRect(left, top, labelWidth, labelHeight);
    context.globalAlpha = 1;
    context.fillStyle = '#000';
    context.textBaseline = 'top';
    top += 2 * scale;
    for (const line of lines) {
        context.font = line.font;
        context.fillText(line.text, left + 3 * scale, top);
        top += line.size * 1.25 * scale;
    }
}
