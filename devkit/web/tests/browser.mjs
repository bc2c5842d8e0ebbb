// A real browser, driven as a user would drive it, that keeps account of what goes wrong in the page.
// A test ends with 77, as skipped, where the browser or its tools are not installed.

import assert from 'node:assert/strict';
import {existsSync, readFileSync} from 'node:fs';
import {createRequire} from 'node:module';
import {join} from 'node:path';

const kSkipped = 77;
const kChromium = ['/usr/bin/chromium', '/usr/bin/chromium-browser'].find(existsSync);
const kArguments = ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync'];
export const kPatienceMs = 150_000; // a busy machine shows few pictures a second

const tools = process.env.TAVO_BROWSER_TOOLS ?? '';

export async function launchBrowser() {
    if (!kChromium || !existsSync(join(tools, 'node_modules/playwright-core'))) {
        console.log('skipped: "scripts/setup.sh test" installs the browser and its tools');
        process.exit(kSkipped);
    }
    const {chromium} = createRequire(join(tools, '/'))('playwright-core');
    return chromium.launch({executablePath: kChromium, headless: true, args: kArguments});
}

// A page at the address, whose faults are collected: errors on the console, exceptions, requests to
// anywhere else.
export async function openPage(browser, url, faults, options = {}) {
    const context = await browser.newContext({viewport: {width: 1440, height: 860}, ...options});
    const page = await context.newPage();
    const {origin} = new URL(url);
    page.setDefaultTimeout(kPatienceMs);
    page.on('console', message => {
        if (message.type() === 'error')
            faults.push(`console: ${message.text()}`);
    });
    page.on('pageerror', error => faults.push(`exception: ${error.stack}`));
    page.on('request', request => {
        if (!request.url().startsWith(origin) && !/^(blob|data):/.test(request.url()))
            faults.push(`request to elsewhere: ${request.url()}`);
    });
    await page.goto(url);
    return page;
}

// Waits until it is so.
export async function waitFor(what, isSo, patienceMs = kPatienceMs) {
    const endMs = Date.now() + patienceMs;
    while (Date.now() < endMs) {
        const value = await isSo();
        if (value)
            return value;
        await new Promise(resolve => setTimeout(resolve, 100));
    }
    throw new Error(`did not come about: ${what}`);
}

// Fails on what keeps people from using the page as it is now.
export async function checkAccessibility(page, what) {
    await page.evaluate(readFileSync(join(tools, 'node_modules/axe-core/axe.min.js'), 'utf8'));
    const {violations} = await page.evaluate(() => window.axe.run(document, {
        resultTypes: ['violations'], rules: {'target-size': {enabled: true}}}));
    assert.deepEqual(violations.map(({id, nodes}) => `${id}: ${nodes.map(node => node.html).join(' ')}`), [], what);
}

// Runs the steps of a test one after the other, and says which; then lets all go, with the process's
// exit code by that. A step that fails has the faults and the host's last words shown.
export async function runSteps(server, steps, {faults = [], browser, onFailure} = {}) {
    let hasPassed = false;
    try {
        hasPassed = await runAll(server, steps, faults, onFailure);
    } finally {
        await browser?.close();
        process.exitCode = await server.close(hasPassed) ? 0 : 1;
    }
}

async function runAll(server, steps, faults, onFailure) {
    for (const [name, step] of Object.entries(steps)) {
        const beginMs = Date.now();
        try {
            await step();
        } catch (error) {
            console.log(`FAILED ${name}: ${error.stack}`, ...faults);
            console.log(server.output('host').split('\n').slice(-30).join('\n'));
            await onFailure?.();
            return false;
        }
        console.log(`ok ${name} (${((Date.now() - beginMs) / 1000).toFixed(1)} s)`);
    }
    return true;
}
