// The one connection over which everything live comes: messages of a JSON object and, with a
// picture, its bytes. It is opened again when it ends, and when something else is wished for.

const kHeadBytes = 8;
const kRetryMs = 1000;

export class Stream {
    // onMessage(object, bytes), onState(isOpen)
    constructor(onMessage, onState) {
        this.onMessage = onMessage;
        this.onState = onState;
        this.query = null;
        this.abort = null;
    }

    // pictures: 'small' or 'large'; cameras: ids, none for all.
    wish(pictures, cameras = []) {
        const query = new URLSearchParams({pictures, cameras: cameras.join(',')}).toString();
        if (query === this.query)
            return;
        this.letGo();
        this.query = query;
        this.abort = new AbortController();
        this.#run(query, this.abort.signal);
    }

    // Ends the connection, of which a browser has six for all its tabs, until the next wish.
    letGo() {
        this.query = null;
        this.abort?.abort();
    }

    async #run(query, signal) {
        while (!signal.aborted) {
            try {
                const response = await fetch(`/api/stream?${query}`, {signal});
                if (!response.ok)
                    throw new Error(response.statusText);
                this.onState(true);
                await this.#read(response.body.getReader());
            } catch {
                // The host is not there, or another stream was wished for.
            }
            if (signal.aborted)
                return;
            this.onState(false);
            await new Promise(resolve => setTimeout(resolve, kRetryMs));
        }
    }

    async #read(reader) {
        const decoder = new TextDecoder();
        const incoming = new Incoming(reader);
        while (true) {
            const head = await incoming.take(kHeadBytes);
            if (!head)
                return;
            const lengths = new DataView(head.buffer, head.byteOffset, kHeadBytes);
            const text = await incoming.take(lengths.getUint32(0, true));
            const bytes = await incoming.take(lengths.getUint32(4, true));
            if (!text || !bytes)
                return;
            this.onMessage(JSON.parse(decoder.decode(text)), bytes);
        }
    }
}

// Takes what comes in pieces in the lengths that are asked for.
class Incoming {
    constructor(reader) {
        this.reader = reader;
        this.pieces = [];
        this.length = 0;
    }

    // Null when the stream ends before.
    async take(length) {
        while (this.length < length) {
            const {done, value} = await this.reader.read();
            if (done)
                return null;
            this.pieces.push(value);
            this.length += value.length;
        }
        const taken = new Uint8Array(length);
        let filled = 0;
        while (filled < length) {
            const piece = this.pieces[0];
            const part = piece.subarray(0, length - filled);
            taken.set(part, filled);
            filled += part.length;
            if (part.length === piece.length)
                this.pieces.shift();
            else
                this.pieces[0] = piece.subarray(part.length);
        }
        this.length -= length;
        return taken;
    }
}
