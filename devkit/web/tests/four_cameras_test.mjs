// Four cameras with people at once, as the demonstration plays them: the page shows them all with
// their boxes. Prints how many frames a second it showed, and with TAVO_SCREENSHOT leaves a picture of
// it there. Skipped without the demonstration's video and model ("scripts/setup.sh demo").

import assert from 'node:assert/strict';
import {existsSync} from 'node:fs';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';
import {launchBrowser, openPage, runSteps, waitFor} from './browser.mjs';
import {Server} from './server.mjs';

const kCameras = 4;
const kMeasuredMs = 15_000;

const assets = process.env.TAVO_DEMO_ASSETS ?? '';
const video = join(assets, 'vtest.avi');
if (!existsSync(video) || !existsSync(join(assets, 'nanodet.onnx'))) {
    console.log('skipped: "scripts/setup.sh demo" fetches the video and the model');
    process.exit(77);
}

const browser = await launchBrowser();
const server = new Server();
const faults = [];
let page;

const shownOf = () => page.locator('.tile').evaluateAll(tiles => tiles.map(tile => ({
    shown: Number(tile.dataset.shown ?? 0), boxes: JSON.parse(tile.dataset.boxes ?? '[]').length})));

const steps = {
    async 'people in all four'() {
        await server.startServices(
            fileURLToPath(new URL('../../services/catalogue.json', import.meta.url)), assets, kCameras);
        page = await openPage(browser, await server.startHost('--page', '0', '--video', video,
            '--cameras', String(kCameras), '--records', server.path('ini/records.json')), faults);
        const choice = page.locator('[data-setting="libraryChoiceGeneric CPU"]');
        await waitFor('the choice of a runtime', async () => {
            await page.click('#panel-settings [data-action=refresh]');
            return choice.isVisible();
        });
        await choice.click();
        await waitFor('people', async () => {
            const tiles = await shownOf();
            return tiles.length === kCameras && tiles.every(tile => tile.boxes > 0);
        }, 180_000);
    },

    async 'pictures flow, whatever else the machine does'() {
        const before = await shownOf();
        await page.waitForTimeout(kMeasuredMs);
        const counts = (await shownOf()).map(({shown}, index) => shown - before[index].shown);
        console.log(`frames shown a second: ${counts.map(count => (count * 1000 / kMeasuredMs).toFixed(1)).join(', ')}`);
        assert.ok(counts.every(count => count > 0));
    },

    async 'a picture of it'() {
        await page.click('.tile .name');
        await page.click('#panel-settings [data-action=refresh]');
        await page.locator('#panel-settings .banner', {hasText: 'Active ORLIX Runtime'}).waitFor();
        await waitFor('people all over', async () => (await shownOf()).every(tile => tile.boxes > 2), 20_000);
        if (process.env.TAVO_SCREENSHOT)
            await page.screenshot({path: process.env.TAVO_SCREENSHOT});
        assert.deepEqual(faults, []);
    },
};

await runSteps(server, steps, {faults, browser});
