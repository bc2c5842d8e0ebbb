// The host with its page, and the services that the library talks to, as real processes in a folder
// of their own. Where things were built comes from the environment, see devkit/web/CMakeLists.txt.

import {execFileSync, spawn} from 'node:child_process';
import {createWriteStream, existsSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, readlinkSync, rmSync,
    writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';

const kStartMs = 30_000;
const kGoodExits = [0, 3]; // of the host: with results, and without any

export class Server {
    // files: the folder of model files; catalogue: of models and pipelines.
    constructor() {
        this.folder = mkdtempSync(join(tmpdir(), 'tavo_page.'));
        for (const name of ['t', 'home', 'ini', 'files'])
            mkdirSync(this.path(name));
        this.write('ini/tavo_orlix_manager_plugin.ini', 'CloudAPI=http://127.0.0.1:1/dev\n'); // nobody is there
        this.processes = [];
    }

    path(name) {
        return join(this.folder, name);
    }

    write(name, content) {
        writeFileSync(this.path(name), content);
        return this.path(name);
    }

    async startServices(catalogue, files = this.path('files'), cameras = 1) {
        const archive = this.path('application.tgz');
        execFileSync('tar', ['-czf', archive, '-C', process.env.TAVO_APPLICATION_PARENT,
            '--exclude=*.log', 'orlix_manager']);
        const child = this.#start('services', process.env.TAVO_SERVICES_FILE, [
            '--token', 'token', '--catalogue', catalogue, '--files', files, '--archive', archive,
            '--runtimes', process.env.TAVO_RUNTIME_PACKAGES, '--server', this.path('ini'),
            '--cameras', String(cameras), '--ini', 'logVerbosityLevel=2']);
        await this.#waitForOutput(child, /serving on port/);
    }

    // Gives the page's address.
    async startHost(...options) {
        const child = this.#start('host', process.env.TAVO_HOST_FILE, [
            '--plugin', process.env.TAVO_PLUGIN_FILE, '--work-dir', this.path('home'),
            '--database', this.path('records.db'), ...options]);
        this.host = child;
        const [, url] = await this.#waitForOutput(child, /page: (\S+)/);
        return url;
    }

    async stopHost() {
        await stop(this.host);
        if (!kGoodExits.includes(this.host.exitCode))
            throw new Error(`the host ended with ${this.host.exitCode}`);
    }

    // To each process of the application that the library has started.
    signalApplication(signal) {
        for (const pid of readdirSync('/proc').filter(name => /^\d+$/.test(name))) {
            try {
                if (readlinkSync(`/proc/${pid}/exe`).startsWith(this.path('home')))
                    process.kill(Number(pid), signal);
            } catch {
                // It has ended meanwhile.
            }
        }
    }

    // Ends all processes. False if the test has not passed or the host did not end well: then the
    // folder stays, to be looked at.
    async close(hasPassed) {
        for (const child of this.processes.reverse())
            await stop(child);
        const isGood = hasPassed && kGoodExits.includes(this.host?.exitCode);
        if (isGood)
            rmSync(this.folder, {recursive: true, force: true});
        else
            console.log(`host's exit code: ${this.host?.exitCode}; its files and logs: ${this.folder}`);
        return isGood;
    }

    output(name) {
        const file = this.path(`${name}.log`);
        return existsSync(file) ? readFileSync(file, 'utf8') : '';
    }

    #start(name, program, options) {
        const child = spawn(program, options, {env: {
            ...process.env, TMPDIR: this.path('t'), TAVO_INI_DIR: this.path('ini')}});
        const log = createWriteStream(this.path(`${name}.log`), {flags: 'a'});
        child.text = '';
        for (const output of [child.stdout, child.stderr]) {
            output.on('data', data => {
                child.text = (child.text + data).slice(-20_000);
                log.write(data);
            });
        }
        this.processes.push(child);
        return child;
    }

    async #waitForOutput(child, pattern) {
        const endMs = Date.now() + kStartMs;
        while (Date.now() < endMs && child.exitCode === null) {
            const match = child.text.match(pattern);
            if (match)
                return match;
            await new Promise(resolve => setTimeout(resolve, 20));
        }
        throw new Error(`${child.spawnfile} did not start:\n${child.text}`);
    }
}

async function stop(child) {
    if (!child || child.exitCode !== null)
        return;
    const ended = new Promise(resolve => child.once('exit', resolve));
    child.kill('SIGTERM');
    await ended;
}

// The processes below one, with theirs.
export function childrenOf(pid) {
    const children = [];
    for (const name of readdirSync('/proc').filter(entry => /^\d+$/.test(entry))) {
        try {
            const stat = readFileSync(`/proc/${name}/stat`, 'utf8');
            if (Number(stat.slice(stat.lastIndexOf(')') + 2).split(' ')[1]) === pid)
                children.push(Number(name), ...childrenOf(Number(name)));
        } catch {
            // It has ended meanwhile.
        }
    }
    return children;
}

// A video without compression, a little blue, of a light square that walks over a dark ground, from
// one side to the other, and after a pause again. It is so fast and so seldom that no ground is
// learned from it.
export const kWalk = {side: 48, y: 96, step: 8, pauseFrames: 16};

export function walkingSquare(width, height, framesPerSecond) {
    const chunks = [Buffer.from(`YUV4MPEG2 W${width} H${height} F${framesPerSecond}:1 Ip A1:1 C420jpeg\n`)];
    const {side, y: top, step, pauseFrames} = kWalk;
    for (let left = -step * pauseFrames; left <= width - side; left += step) {
        const luma = Buffer.alloc(width * height, 40);
        for (let y = top; left >= 0 && y < top + side; ++y)
            luma.fill(225, y * width + left, y * width + left + side);
        const chroma = width * height / 4;
        chunks.push(Buffer.from('FRAME\n'), luma, Buffer.alloc(chroma, 150), Buffer.alloc(chroma, 128));
    }
    return Buffer.concat(chunks);
}
