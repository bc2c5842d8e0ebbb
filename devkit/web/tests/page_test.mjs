// The page in a browser, from a server on which nothing is to boxes on the picture, and through what
// a user can do there, by pressing what a user would press.

import assert from 'node:assert/strict';
import {setTimeout as sleep} from 'node:timers/promises';
import {kPatienceMs, checkAccessibility, launchBrowser, openPage, runSteps, waitFor} from './browser.mjs';
import {kWalk, Server, walkingSquare} from './server.mjs';

const kWidth = 320;
const kHeight = 240;
const kWatchUs = 6_000_000; // longer than the square's way and its pause
const kSamples = 10;
const kBoxMargin = 4; // pixels that the detector's box is wider by, on each side

const browser = await launchBrowser();
const server = new Server();
const faults = [];
let url;
let page;

// The first camera on the page.
const tile = () => page.locator('.tile').first();
const shown = async () => {
    const {dataset} = await tile().evaluate(root => ({dataset: {...root.dataset}}));
    if (dataset.resultUs) // boxes stand on their own picture alone
        assert.equal(dataset.resultUs, dataset.pictureUs);
    return {pictureUs: +dataset.pictureUs, resultUs: +dataset.resultUs, boxes: JSON.parse(dataset.boxes ?? '[]'),
        count: +(dataset.shown ?? 0)};
};
const tab = name => page.click(`#tab-${name}`);
const setting = name => page.locator(`#panel-settings [data-setting="${name}"]`);
const nowUs = () => Date.now() * 1000; // the host is on this machine

// Presses "refresh" or "apply" below the settings, and waits until the dialog is drawn.
async function dialogAction(action, viewer = page) {
    await viewer.click(`#panel-settings [data-action=${action}]`);
    await viewer.waitForSelector('#panel-settings .dialog:not([aria-busy])');
}

async function refreshUntil(locator, viewer = page) {
    await viewer.click('#tab-settings');
    await waitFor(`in the dialog: ${locator}`, async () => {
        await dialogAction('refresh', viewer);
        return locator.isVisible();
    });
}

async function apply() {
    await dialogAction('apply');
    assert.equal(await page.locator('#panel-settings .dialog > .error').isVisible(), false);
    assert.equal(await page.locator('#panel-settings .actions .hint').textContent(), '');
}

async function fillCamera(viewer, name, source) {
    await viewer.click('#add-camera');
    await viewer.fill('#new-name', name);
    await viewer.fill('#new-source', server.path(source));
    await viewer.click('#camera-dialog [type=submit]');
    return viewer.locator('.tile', {hasText: name});
}

// Adds one that plays the walking square, and gives its tile.
async function addCamera(viewer, name) {
    const added = await fillCamera(viewer, name, 'square.y4m');
    await waitFor(`pictures of ${name}`, async () => +(await added.getAttribute('data-shown') ?? 0) > 1);
    return added;
}

async function removeCamera(name, viewer = page) {
    await viewer.click(`[aria-label="Remove ${name}"]`);
    await viewer.click('#confirm-dialog [data-action=remove]');
    await viewer.locator('.tile', {hasText: name}).waitFor({state: 'detached'});
}

// Draws on the picture; the points are fractions of it.
async function draw(name, points, shape) {
    await tab('settings');
    await page.click(`[data-draw="${name}"]`);
    const area = await tile().locator('.overlay').boundingBox();
    const places = points.map(([x, y]) => [area.x + x * area.width, area.y + y * area.height]);
    if (shape === 'polygon') {
        for (const [x, y] of places)
            await page.mouse.click(x, y);
        await page.locator('#panel-settings button:visible', {hasText: 'Finish'}).click();
        return;
    }
    await page.mouse.move(...places[0]);
    await page.mouse.down();
    await page.mouse.move(...places[1], {steps: 5});
    await page.mouse.up();
}

async function clear(name) {
    await tab('settings');
    await page.click(`[data-clear="${name}"]`);
}

// When frames are taken that know of what was applied by now: what is on its way may be from before.
const soonUs = () => nowUs() + 500_000;

// The boxes of the results of frames that are taken from now on, for a while.
async function watchBoxes() {
    const beginUs = soonUs();
    const boxes = [];
    await waitFor('pictures of the whole way', async () => {
        const now = await shown();
        if (now.resultUs > beginUs)
            boxes.push(...now.boxes);
        return now.pictureUs > beginUs + kWatchUs;
    });
    return boxes;
}

async function waitForBoxes() {
    const beginUs = soonUs();
    await waitFor('boxes on the picture', async () => {
        const {boxes, resultUs} = await shown();
        return boxes.length > 0 && resultUs > beginUs;
    });
}

const middle = ([x, , width]) => x + width / 2;

// Waits until the engine says that it gets pictures of this size.
async function waitForFrameSize(size) {
    await tab('logs');
    await page.selectOption('#log-choice', 'engine');
    await page.fill('#log-filter', 'Input ');
    await waitFor(`frames of ${size}`, async () => {
        const lines = (await page.locator('.log').textContent()).split('\n');
        return lines.slice(-3).every(line => line.includes(` ${size},`));
    });
    await page.fill('#log-filter', '');
}

// Where the light square begins in the picture that is shown, as a fraction, with its boxes.
const squareAndBoxes = () => tile().evaluate(root => {
    const canvas = root.querySelector('canvas');
    const row = canvas.getContext('2d').getImageData(0, Math.round(canvas.height * 0.5), canvas.width, 1).data;
    const isLight = x => row[x * 4] > 190 && row[x * 4 + 1] > 190 && row[x * 4 + 2] > 190;
    let left = 0;
    while (left < canvas.width && !isLight(left))
        ++left;
    return {left: left / canvas.width, isBlue: row[2] > row[0] + 20,
        isOwn: root.dataset.pictureUs === root.dataset.resultUs, boxes: JSON.parse(root.dataset.boxes ?? '[]')};
});

// The page says so, and goes on by itself. What the browser says of the host's absence is no fault.
async function restartHost() {
    await server.stopHost();
    await page.locator('#summary[data-state=failed]').waitFor();
    await server.startHost('--page', new URL(url).port);
    await page.locator('#summary:not([data-state=failed])').waitFor();
    faults.splice(0, faults.length, ...faults.filter(fault => !/net::ERR_/.test(fault)));
}

const steps = {
    async 'an empty server'() {
        server.write('square.y4m', walkingSquare(kWidth, kHeight, 10));
        server.write('files/motion.bin', 'what a model weighs');
        server.write('settings.json', '{}');
        await server.startServices(server.write('catalogue.json', JSON.stringify({
            models: [{UUID: 'm1', Name: 'motion', File: 'motion.bin', Encrypted: false,
                RuntimeArchitectures: ['application/x-onnx'], NamedOutput: [{Name: 'bboxes;0:motion'}]}],
            pipelines: [{uuid: 'p1', name: 'Motion', models: ['m1'], pipelines: [
                {method: 'detect', modelUUID: 'm1', modelNMS: 0.5, Preprocessor: 'Object Counting',
                    Postprocessor: 'LineCrossing'}]}],
        })));
        url = await server.startHost('--page', '0', '--settings', server.path('settings.json'), '--records',
            server.write('records.json', JSON.stringify({cloudSystemId: 'system', cloudAuthToken: 'token',
                server: {id: 's', parameters: {}}, devices: []})));
        page = await openPage(browser, url, faults);
        await page.locator('#no-cameras').waitFor();
        await checkAccessibility(page, 'without a camera');
    },

    async 'a camera is added'() {
        await page.click('#add-camera');
        await checkAccessibility(page, 'adding a camera');
        await page.fill('#new-name', 'Yard');
        await page.selectOption('#new-kind', 'machine');
        await page.selectOption('#new-kind', 'file');
        await page.fill('#new-source', server.path('square.y4m'));
        await page.click('#camera-dialog [type=submit]');
        await waitFor('pictures', async () => (await shown()).count > 10);
    },

    async 'the application finds the square'() {
        await refreshUntil(setting('libraryChoiceGeneric CPU'));
        await setting('libraryChoiceGeneric CPU').click();
        await refreshUntil(setting('deviceActiveSwitch'));
        await setting('deviceActiveSwitch').check();
        await apply();
        await waitForBoxes();
    },

    async 'picture and boxes belong together'() {
        // A box reaches back over where the square was; its right side is where the square is. One
        // frame's mistake would be a whole step. Where the square stood when the detector began is
        // a box of its own until the ground is learned.
        const errors = [];
        await waitFor('boxes where the square is', async () => {
            const {left, isBlue, isOwn, boxes} = await squareAndBoxes();
            if (!isOwn || boxes.length === 0 || left < 0.05 || left > 0.8)
                return false;
            assert.ok(isBlue);
            const squareRight = left + (kWalk.side + kBoxMargin) / kWidth;
            errors.push(Math.min(...boxes.map(([x, , width]) => Math.abs(x + width - squareRight))));
            const last = errors.slice(-kSamples);
            return last.length === kSamples && last.every(error => error < 0.6 * kWalk.step / kWidth);
        });
    },

    async 'a region of interest'() {
        await draw('cropBox', [[0.25, 0.25], [0.75, 0.75]]);
        await apply();
        await waitForFrameSize('160x120');
        await waitForBoxes();
        const boxes = await watchBoxes();
        assert.ok(boxes.length > 0);
        for (const [x, y, width, height] of boxes)
            assert.ok(x > 0.24 && y > 0.24 && x + width < 0.76 && y + height < 0.76, `box at ${[x, y, width, height]}`);
        await clear('cropBox');
        await apply();
        await waitForFrameSize(`${kWidth}x${kHeight}`);
        await waitForBoxes();
    },

    async 'a mask'() {
        await draw('polygon1.figure', [[0.02, 0.02], [0.5, 0.02], [0.5, 0.98], [0.02, 0.98]], 'polygon');
        await apply();
        const inside = await watchBoxes();
        assert.ok(inside.length > 0);
        assert.ok(inside.every(box => middle(box) < 0.54), `${inside.map(middle)}`);

        await setting('maskType').selectOption('exclusive');
        await apply();
        const outside = await watchBoxes();
        assert.ok(outside.length > 0);
        assert.ok(outside.every(box => middle(box) > 0.46), `${outside.map(middle)}`);

        await setting('maskType').selectOption('inclusive');
        await clear('polygon1.figure');
        await apply();
        await waitFor('boxes on both sides', async () => {
            const boxes = await watchBoxes();
            return boxes.some(box => middle(box) < 0.4) && boxes.some(box => middle(box) > 0.6);
        });
    },

    async 'a line'() {
        await draw('lineCrossingLine', [[0.5, 0.05], [0.52, 0.95]]);
        await apply();
        await tab('events');
        await page.selectOption('#event-type', 'tavo.orlix.linecrossing');
        await page.selectOption('#event-camera', {label: 'Yard'});
        const crossing = page.locator('.events [data-type="tavo.orlix.linecrossing"]');
        await crossing.first().waitFor();
        assert.match(await crossing.first().textContent(), /Yard/);
        await page.selectOption('#event-type', 'tavo.orlix.loiter_alarm');
        assert.equal(await crossing.count(), 0);
        await checkAccessibility(page, 'events');
    },

    async 'a point of a figure is moved'() {
        await tab('settings');
        const before = await setting('lineCrossingLine').inputValue();
        const {x, y, width} = await tile().locator('[data-handle="lineCrossingLine|0"]').boundingBox();
        const handle = [x + width / 2, y + width / 2];
        await page.mouse.move(...handle);
        await page.mouse.down();
        await page.mouse.move(handle[0] - 60, handle[1] + 30, {steps: 4});
        await page.mouse.up();
        assert.notEqual(await setting('lineCrossingLine').inputValue(), before);
        await setting('lineCrossingLine').fill('50,0 50,100');
        await setting('lineCrossingLine').press('Tab');
        await apply();
        const [camera] = await (await fetch(`${url}api/cameras`)).json();
        assert.equal(camera.values.lineCrossingLine, '{"figure":{"points":[[0.5000,0.0000],[0.5000,1.0000]]}}');
    },

    async 'figures by keyboard, with undo'() {
        const polygon = setting('polygon1.figure');
        const press = async keys => {
            for (const key of keys.split(' '))
                await page.keyboard.press(key);
        };
        await page.focus('[data-draw="polygon1.figure"]');
        await press('Enter Shift+ArrowLeft Shift+ArrowUp Space Shift+ArrowRight Shift+ArrowRight Space');
        await press('Shift+ArrowDown Space ArrowDown Space Backspace ArrowDown ArrowDown Space Control+z');
        await checkAccessibility(page, 'drawing');
        await press('Enter');
        assert.equal(await polygon.inputValue(), '40,40 60,40 60,50');
        assert.equal(await polygon.evaluate(input => input === document.activeElement), true);

        await page.focus('[data-handle="polygon1.figure|2"]');
        await press('ArrowDown ArrowDown ArrowLeft');
        assert.equal(await polygon.inputValue(), '40,40 60,40 59,52');
        await checkAccessibility(page, 'points');
        await press('Control+z');
        assert.equal(await polygon.inputValue(), '40,40 60,40 60,52');
        await page.focus('[data-clear="polygon1.figure"]');
        await press('Enter');
        assert.equal(await polygon.inputValue(), '');
        await page.focus('[data-draw="polygon1.figure"]');
        await press('Control+z Control+z Control+z');
        assert.equal(await polygon.inputValue(), '40,40 60,40 60,50');
        await press('Control+z');
        await page.focus('[data-draw="polygon1.figure"]');
        await press('Enter Space Escape');
        assert.equal(await polygon.inputValue(), '');
        assert.equal(await page.locator('#panel-settings .actions .hint').textContent(), '');
    },

    async 'what is drawn and not applied waits while another camera is chosen'() {
        const gate = await addCamera(page, 'Gate');
        await draw('cropBox', [[0.2, 0.2], [0.6, 0.6]]);
        await page.click('[data-draw="polygon1.figure"]');
        const area = await tile().locator('.overlay').boundingBox();
        const corner = (x, y) => page.mouse.click(area.x + x * area.width, area.y + y * area.height);
        await corner(0.1, 0.1);
        await corner(0.3, 0.1);
        await gate.locator('.name').click();
        await page.locator('#panel-settings h2', {hasText: 'Gate'}).waitFor();
        await refreshUntil(setting('cropBox'));
        assert.equal(await setting('cropBox').inputValue(), '');
        assert.equal(await tile().locator('.pending').isVisible(), true);
        await tile().locator('.name').click();
        await page.locator('#panel-settings h2', {hasText: 'Yard'}).waitFor();
        assert.equal(await setting('cropBox').inputValue(), '20,20 60,60');
        await corner(0.3, 0.3);
        await page.locator('#panel-settings button:visible', {hasText: 'Finish'}).click();
        assert.equal(await setting('polygon1.figure').inputValue(), '10,10 30,10 30,30');
        await clear('polygon1.figure');
        await clear('cropBox');
        assert.equal(await tile().locator('.pending').isVisible(), false);
        await removeCamera('Gate');
        assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Yard');
    },

    async 'two people change one camera'() {
        const another = await openPage(browser, url, faults);
        const line = '#panel-settings [data-setting=lineCrossingLine]';
        const saved = async () => (await (await fetch(`${url}api/cameras`)).json())[0].values;
        await refreshUntil(setting('maskType'));
        await refreshUntil(another.locator(line), another);
        await another.fill(line, '40,0 40,100');
        await another.press(line, 'Tab');
        await setting('maskType').selectOption('exclusive');
        await setting('lineCrossingLine').fill('50,0 50,90');
        await setting('lineCrossingLine').press('Tab');
        await apply();
        const before = await saved();

        await dialogAction('apply', another);
        const news = another.locator('#panel-settings .news');
        await news.waitFor();
        assert.match(await news.textContent(), /50,0 50,100 → 50,0 50,90; you entered 40,0 40,100/);
        assert.match(await news.textContent(), /inclusive → exclusive/);
        assert.equal(await another.inputValue(line), '40,0 40,100');
        assert.deepEqual(await saved(), before);
        await checkAccessibility(another, 'news');
        assert.match(faults.splice(0).join(), /^console: [^,]* 412 [^,]*$/); // the browser's own word
        await dialogAction('apply', another);
        await news.waitFor({state: 'hidden'});
        assert.equal((await saved()).lineCrossingLine, '{"figure":{"points":[[0.4000,0.0000],[0.4000,1.0000]]}}');
        assert.equal((await saved()).maskType, 'exclusive');
        await another.context().close();
        await dialogAction('refresh');
        await setting('maskType').selectOption('inclusive');
        await apply();
    },

    async 'a class is switched off and on'() {
        await tab('settings');
        await setting('visualise_motion').uncheck();
        await apply();
        assert.deepEqual(await watchBoxes(), []);
        await page.route('**/active', async route => {
            await sleep(500);
            await route.continue();
        });
        await setting('selectAllButton').click();
        await apply(); // while the button's answer is on its way
        await page.unroute('**/active');
        assert.equal(await setting('visualise_motion').isChecked(), true);
        await waitForBoxes();
        await setting('deSelectAllButton').click();
        await waitFor('the class is not chosen', async () => !await setting('visualise_motion').isChecked());
        await setting('selectAllButton').click();
        await waitFor('the class is chosen again', () => setting('visualise_motion').isChecked());
        await apply();
    },

    async 'counts and objects'() {
        await tab('statistics');
        await page.locator('.legend', {hasText: 'motion'}).waitFor();
        await page.locator('.plot polyline').first().waitFor({state: 'attached'});
        await checkAccessibility(page, 'counts');
    },

    async 'metadata and clip of a span'() {
        await tab('span');
        await page.click('[data-last="60"]');
        await page.click('[data-action=metadata]');
        const lines = (await page.locator('.span-result pre').textContent()).trim().split('\n').map(JSON.parse);
        assert.ok(lines.some(line => line.kind === 'objects' && line.objects.length > 0));
        assert.ok(lines.some(line => line.kind === 'events'));
        await page.click('[data-last="10"]');
        await page.click('[data-action=clip]');
        await waitFor('the clip plays', () => page.locator('.span-result video').evaluate(
            video => video.videoWidth > 0 && video.duration > 3));
        await checkAccessibility(page, 'a span');
    },

    async 'the machine'() {
        await page.click('#summary');
        await waitFor('all rungs', async () => {
            const states = await page.locator('.ladder li').evaluateAll(rungs => rungs.map(rung => rung.dataset.state));
            return states.length > 5 && states.every(state => state === 'done');
        });
        assert.equal(await page.locator('#summary').textContent(), 'Results flow');
        await page.locator('#panel-machine a', {hasText: 'Orlix Manager documentation'}).waitFor();
        await page.click('#panel-machine [data-action=refresh]');
        await page.click('#panel-machine [data-action=apply]');
        await page.locator('#panel-machine .dialog:not([aria-busy])').waitFor();
        await page.locator('.board .hint, .board .banner').first().waitFor();
        await checkAccessibility(page, 'the machine');
    },

    async 'the logs'() {
        await tab('logs');
        for (const [log, text] of Object.entries({library: 'ORLIX Plugin', application: 'brunmod', engine: 'brund_0'})) {
            await page.selectOption('#log-choice', log);
            await page.locator('.log', {hasText: text}).waitFor();
        }
        await checkAccessibility(page, 'the logs');
    },

    async 'the device is managed'() {
        await tab('settings');
        await setting('selectedPipeline').selectOption('Custom');
        await apply();
        await refreshUntil(setting('manageDevice'));
        const popup = page.waitForEvent('popup');
        const asked = page.context().waitForEvent('request', request => /\/admin\/device\//.test(request.url()));
        await setting('manageDevice').click();
        await asked;
        await (await popup).close();
        await setting('selectedPipeline').selectOption({label: 'Motion'});
        await apply();
    },

    async 'items of every type'() {
        const texts = await page.evaluate(async () => {
            const {drawItems} = await import('/js/dialog/items.js');
            const form = {value: () => undefined, error: () => undefined, isFilled: () => false, overlay: () => null, addFigure() {}};
            const draw = item => {
                const box = document.createElement('div');
                box.append(...drawItems([item], form));
                return box;
            };
            return {
                unknown: draw({type: 'Hologram', name: 'h', caption: 'New'}).textContent,
                nothing: draw({type: 'TextField', name: 't', visible: false}).textContent,
                script: draw({type: 'Link', caption: 'x', url: 'javascript:alert(1)'}).querySelectorAll('a').length,
                spin: draw({type: 'SpinBox', name: 's', suffix: '%', minValue: 1, maxValue: 5, defaultValue: 3}).querySelector('input').outerHTML,
                combo: draw({type: 'ComboBox', name: 'c', range: ['a', 'b'], itemCaptions: {b: 'Bee'}, defaultValue: 'b'}).querySelector('select').selectedOptions[0].text,
                repeated: draw({type: 'Repeater', count: 3, template: {type: 'GroupBox', caption: 'No. #', filledCheckItems: ['p#'], items: [{type: 'PolygonFigure', name: 'p#'}]}}).textContent,
                markup: draw({type: 'Banner', text: '<b>bold</b>'}).querySelectorAll('b').length,
            };
        });
        assert.match(texts.unknown, /Hologram: New/);
        assert.equal(texts.nothing, '');
        assert.equal(texts.script, 0);
        assert.match(texts.spin, /min="1".*max="5"/);
        assert.equal(texts.combo, 'Bee');
        assert.match(texts.repeated, /No\. 1/);
        assert.doesNotMatch(texts.repeated, /No\. 2/);
        assert.equal(texts.markup, 0);
    },

    async 'a second camera, one large, and away again'() {
        const gate = await addCamera(page, 'Gate');
        await page.click('[aria-label="Show Gate large"]');
        assert.equal(await tile().isVisible(), false);
        await waitFor('large pictures', () => gate.locator('canvas').evaluate(canvas => canvas.width > 700));
        await page.keyboard.press('Escape');
        await tile().waitFor();
        await page.click('[aria-label="Show Gate large"]');
        await page.click('#back-to-grid');
        await page.click('[aria-label="Remove Gate"]');
        await checkAccessibility(page, 'removing a camera');
        await page.locator('#confirm-dialog button', {hasText: 'Keep'}).click();
        await removeCamera('Gate');
        const cameras = await (await fetch(`${url}api/cameras`)).json();
        assert.deepEqual(cameras.map(camera => camera.name), ['Yard']);
    },

    async 'seven tabs of one browser, of which one is looked at'() {
        const hide = async (viewer, isHidden) => viewer.evaluate(hidden => {
            Object.defineProperty(document, 'hidden', {get: () => hidden, configurable: true});
            document.dispatchEvent(new Event('visibilitychange'));
        }, isHidden);
        const pictures = viewer => viewer.locator('.tile').first().getAttribute('data-shown').then(Number);
        const showsPictures = async viewer => {
            const before = await pictures(viewer);
            await waitFor('pictures', async () => await pictures(viewer) > before);
        };
        const tabs = [];
        for (let count = 0; count < 6; ++count) {
            const another = await page.context().newPage();
            await another.goto(url, {timeout: 20_000}); // a browser has six connections for all its tabs
            await showsPictures(another);
            await hide(another, true);
            tabs.push(another);
        }
        await hide(tabs[0], false);
        await showsPictures(tabs[0]);
        for (const another of tabs)
            await another.close();
    },

    async 'a camera without a picture has no delay'() {
        const cellar = await fillCamera(page, 'Cellar', 'nothing.mp4');
        await cellar.locator('.trouble:visible').waitFor();
        await waitFor('its rates', async () => await cellar.locator('.rates').textContent() !== '');
        assert.equal(await cellar.locator('.rates').textContent(), 'no picture · 0.0 results/s');
        await removeCamera('Cellar');
    },

    async 'four cameras and forty, with long names'() {
        const ids = [];
        for (const total of [4, 40]) {
            while (ids.length < total - 1) {
                const answer = await fetch(`${url}api/cameras`, {method: 'POST', body: JSON.stringify({
                    name: `${ids.length}${'TheNorthernmostLoadingBayOfAll'.repeat(4)}`, source: server.path('nothing.mp4')})});
                ids.push((await answer.json()).id);
            }
            await waitFor('the tiles', async () => await page.locator('.tile').count() === total);
            await checkAccessibility(page, `${total} cameras`);
            for (const button of await page.locator('.tile').nth(total - 1).locator('.bar button').all()) {
                const {width, height} = await button.boundingBox();
                assert.ok(width >= 24 && height >= 24, `${await button.textContent()}: ${width} x ${height}`);
            }
        }
        for (const id of ids)
            await fetch(`${url}api/cameras/${id}`, {method: 'DELETE'});
        await waitFor('one tile', async () => await page.locator('.tile').count() === 1);
    },

    async 'three look at once, one of them with a telephone, while the library is slow'() {
        const viewers = [page];
        for (const options of [{}, {viewport: {width: 390, height: 800}, hasTouch: true}])
            viewers.push(await openPage(browser, url, faults, options));
        const telephone = viewers[2];
        server.signalApplication('SIGSTOP'); // who hands a frame over, and who asks meanwhile, waits for it
        for (const viewer of viewers) {
            const count = () => viewer.locator('.tile').first().getAttribute('data-shown').then(Number);
            const before = await count();
            await waitFor('pictures', async () => await shown() && await count() > before + 1);
            await viewer.click('#panel-settings [data-action=refresh]');
        }
        await addCamera(telephone, 'Gate');
        for (const viewer of viewers) {
            await viewer.locator('#panel-settings .dialog:not([aria-busy]) .banner').first().waitFor();
            await viewer.locator('.tile', {hasText: 'Gate'}).waitFor();
        }
        await checkAccessibility(telephone, 'on a telephone');
        assert.ok(await telephone.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
        await removeCamera('Gate', telephone);
        for (const viewer of viewers)
            await viewer.locator('.tile', {hasText: 'Gate'}).waitFor({state: 'detached'});
        server.signalApplication('SIGCONT');
        await waitForBoxes();
        for (const viewer of viewers.slice(1))
            await viewer.context().close();
    },

    async 'by keyboard, in the dark'() {
        await page.click('#theme');
        await page.click('#theme');
        await page.focus('#tab-settings');
        await page.keyboard.press('ArrowRight');
        assert.equal(await page.locator('#tab-events').getAttribute('aria-selected'), 'true');
        await page.keyboard.press('ArrowLeft');
        await page.emulateMedia({colorScheme: 'dark'});
        await page.evaluate(() => delete document.documentElement.dataset.theme);
        await checkAccessibility(page, 'in the dark');
    },

    async 'no error on the console'() {
        assert.deepEqual(faults, []);
    },

    async 'the host starts again and has its camera'() {
        await restartHost();
        await waitForBoxes();
        assert.equal(await page.locator('.tile').count(), 1);
    },
};

await runSteps(server, steps, {faults, browser, onFailure: async () => {
    console.log((await page?.locator('[role=tabpanel]:visible').innerText())?.slice(0, 2000));
    if (process.env.TAVO_FAILURE_SCREENSHOT)
        await page?.screenshot({path: process.env.TAVO_FAILURE_SCREENSHOT});
}});
