// Figures as setting values: {"figure":{"points":[[x,y],...]}} with fractions of the picture.

// The points, or none for a value that holds no figure.
export function readFigure(value) {
    try {
        const points = JSON.parse(value)?.figure?.points;
        return Array.isArray(points) ? points.filter(point => Array.isArray(point)) : [];
    } catch {
        return [];
    }
}

// Every number is written with its decimals: a coordinate without reads as no number in a line.
export function writeFigure(points) {
    if (points.length === 0)
        return '{"figure":null}';
    const texts = points.map(([x, y]) => `[${x.toFixed(4)},${y.toFixed(4)}]`);
    return `{"figure":{"points":[${texts.join(',')}]}}`;
}

// "10,20 90,80", in percent.
export function writePercent(points) {
    return points.map(point => point.map(part => +(part * 100).toFixed(1)).join(',')).join(' ');
}

// Null for what is no such text.
export function readPercent(text) {
    const points = text.trim().split(/\s+/).filter(word => word).map(
        word => word.split(',').map(part => part === '' ? NaN : Number(part) / 100));
    const isPoint = point => point.length === 2 && point.every(part => part >= 0 && part <= 1);
    return points.every(isPoint) ? points : null;
}

// What a setting's name says of a figure, for a camera whose dialog is not open.
export function guessShape(name, points) {
    if (points.length > 2)
        return 'polygon';
    return /line/i.test(name) ? 'line' : 'box';
}

// The figures among the values: [{name, shape, points}].
export function figuresOf(values) {
    const figures = [];
    for (const [name, value] of Object.entries(values)) {
        const points = value.startsWith('{') ? readFigure(value) : [];
        if (points.length > 1)
            figures.push({name, shape: guessShape(name, points), points});
    }
    return figures;
}
