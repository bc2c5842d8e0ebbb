// Four cameras with people at once, as the demonstration plays them: the page shows them all with
// their boxes. Prints how many frames a second it showed and what host and browser took of the
// processors, and with TAVO_SCREENSHOT leaves a picture of it there. Skipped without the
// demonstration's video and model ("scripts/setup.sh demo").

import assert from 'node:assert/strict';
import {existsSync, readFileSync} from 'node:fs';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';
import {launchBrowser, openPage, runSteps, waitFor} from './browser.mjs';
import {childrenOf, Server} from './server.mjs';

const kCameras = 4;
const kMeasuredMs = 15_000;
const kTicksPerSecond = 100; // of the kernel's account of processor time

const assets = process.env.TAVO_DEMO_ASSETS ?? '';
const video = join(assets, 'vtest.avi');
if (!existsSync(video) || !existsSync(join(assets, 'nanodet.onnx'))) {
    console.log('skipped: "scripts/setup.sh demo" fetches the video and the model');
    process.exit(77);
}

// The processor seconds of a process and of those below it.
function processorSeconds(pid) {
    const stat = readFileSync(`/proc/${pid}/stat`, 'utf8');
    const fields = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
    return (Number(fields[11]) + Number(fields[12])) / kTicksPerSecond;
}

const sum = values => values.reduce((total, value) => total + value, 0);
const browserPids = () => childrenOf(process.pid).filter(pid =>
    readFileSync(`/proc/${pid}/cmdline`, 'utf8').includes('chrom'));

const browser = await launchBrowser();
const server = new Server();
const faults = [];
let page;

const shownOf = () => page.locator('.tile').evaluateAll(tiles => tiles.map(tile => ({
    shown: Number(tile.dataset.shown ?? 0), boxes: JSON.parse(tile.dataset.boxes ?? '[]').length})));

const steps = {
    async 'people in all four'() {
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

    async 'how it does'() {
        const pids = browserPids();
        const processors = () => ({host: processorSeconds(server.host.pid), browser: sum(pids.map(processorSeconds))});
        const before = {tiles: await shownOf(), ...processors(), ms: performance.now()};
        await page.waitForTimeout(kMeasuredMs);
        const after = {tiles: await shownOf(), ...processors(), ms: performance.now()};
        const seconds = (after.ms - before.ms) / 1000;
        const rates = after.tiles.map((tile, index) => (tile.shown - before.tiles[index].shown) / seconds);
        console.log(`frames shown a second: ${rates.map(rate => rate.toFixed(1)).join(', ')}`);
        for (const part of ['host', 'browser'])
            console.log(`processor of the ${part}: ${((after[part] - before[part]) / seconds * 100).toFixed(0)} %`);
        assert.ok(rates.every(rate => rate > 0), 'pictures flow, whatever else the machine does');
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

let hasPassed = false;
try {
    await server.startServices(
        fileURLToPath(new URL('../../services/catalogue.json', import.meta.url)), assets, kCameras);
    const url = await server.startHost('--page', '0', '--video', video, '--cameras', String(kCameras),
        '--records', server.path('ini/records.json'));
    page = await openPage(browser, url, faults);
    hasPassed = await runSteps(steps, () => {
        console.log(faults.join('\n'));
        console.log(server.output('host').split('\n').slice(-30).join('\n'));
    });
} finally {
    await browser.close();
    process.exitCode = await server.close(hasPassed) ? 0 : 1;
}
