// What the page asks of the host. A refusal is an Error with the host's text.

const kOutdated = 412; // with an answer, which tells what is so now

async function ask(path, options = {}) {
    const response = await fetch(path, options);
    if (!response.ok && response.status !== kOutdated)
        throw new Error(await response.text() || response.statusText);
    return response;
}

async function askJson(path, method = 'GET', body = undefined, headers = {}) {
    const options = {method, headers};
    if (body !== undefined) {
        headers['Content-Type'] = 'application/json';
        options.body = JSON.stringify(body);
    }
    return (await ask(path, options)).json();
}

const cameraPath = id => `/api/cameras/${encodeURIComponent(id)}`;

export const addCamera = (name, source) => askJson('/api/cameras', 'POST', {name, source});
export const removeCamera = id => askJson(cameraPath(id), 'DELETE');
export const listMachineCameras = () => askJson('/api/machine-cameras');
export const readBoard = () => askJson('/api/board');

// The two kinds of settings dialog, worked the same way.
export function cameraDialog(id) {
    return {
        refresh: () => askJson(`${cameraPath(id)}/settings`),
        apply: (values, version) => askJson(`${cameraPath(id)}/settings`, 'POST', values, {'If-Match': version}),
        press: (name, values) => askJson(`${cameraPath(id)}/active`, 'POST', {name, values}),
    };
}

export function engineDialog() {
    const refresh = () => askJson('/api/engine/settings');
    return {
        refresh,
        apply: values => askJson('/api/engine/settings', 'POST', values),
        press: refresh, // an engine has no active settings
    };
}

const spanQuery = span => `from=${Math.round(span.fromUs)}&to=${Math.round(span.toUs)}`;

export async function readMetadata(id, span) {
    return (await ask(`${cameraPath(id)}/metadata?${spanQuery(span)}`)).blob();
}

export async function readClip(id, span) {
    return (await ask(`${cameraPath(id)}/clip?${spanQuery(span)}`)).blob();
}
