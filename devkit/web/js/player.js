// Shows the pictures of one camera with the boxes that belong to them. A result comes later than its
// picture, so pictures are shown with the delay that results have just now: a picture and the result
// of the same timestamp are shown together, and the pictures run smoothly. A result is shown on its
// own picture or not at all; while results come quickly the pictures between them are left out.
// All times in milliseconds of this page's clock, except timestamps, which are the host's, in us.

const kLeastDelayMs = 80;
const kMostDelayMs = 5000;
const kMarginMs = 60;
const kDecodeAheadMs = 200;
const kLateUs = 300_000;
const kQuickMs = 400;
const kResultsPauseMs = 3000;
const kSamples = 40;
const kKeptUs = 10_000_000;

export class Player {
    // show(bitmap, result, timestampUs); result may be null.
    constructor(show) {
        this.show = show;
        this.pictures = []; // rising timestamps
        this.results = new Map(); // by timestamp
        this.objects = new Map(); // of results whose events have not come yet
        this.offsetMs = Infinity; // from the host's clock to the page's, with the fastest way
        this.delayMs = kLeastDelayMs;
        this.delays = []; // of the last results
        this.lastResultMs = -Infinity;
        this.lastOwnMs = -Infinity; // when a picture with its result was shown
    }

    addPicture(timestampUs, bytes, nowMs) {
        const onTheWayMs = nowMs - timestampUs / 1000;
        // A clock that drifts is followed slowly, one that jumps at once.
        this.offsetMs = Math.abs(onTheWayMs - this.offsetMs) > 10_000
            ? onTheWayMs
            : Math.min(this.offsetMs + 0.05, onTheWayMs);
        this.pictures.push({timestampUs, bytes, bitmap: null, isDecoding: false, isBroken: false});
    }

    addObjects(message) {
        this.objects.set(message.timestampUs, message.objects);
        forgetOld(this.objects, message.timestampUs);
    }

    // The events come last of a result. Gives the result.
    addEvents(message, nowMs) {
        const result = {
            timestampUs: message.timestampUs,
            objects: this.objects.get(message.timestampUs) ?? [],
            events: message.events,
        };
        this.objects.delete(message.timestampUs);
        this.results.set(message.timestampUs, result);
        forgetOld(this.results, message.timestampUs);
        this.delays.push(nowMs - message.timestampUs / 1000 - this.offsetMs);
        if (this.delays.length > kSamples)
            this.delays.shift();
        this.lastResultMs = nowMs;
        return result;
    }

    // To be called before each repaint.
    tick(nowMs) {
        this.#adjustDelay(nowMs);
        const dueUs = (nowMs - this.offsetMs - this.delayMs) * 1000;
        const isQuick = nowMs - this.lastOwnMs < kQuickMs;
        let due = null;
        while (this.pictures.length > 0 && this.pictures[0].timestampUs <= dueUs) {
            const picture = this.pictures[0];
            const hasResult = this.results.has(picture.timestampUs);
            // Still being decoded. What is late by then is left out, or all that follows were late too.
            const isLate = picture.timestampUs < dueUs - kLateUs;
            if (!picture.bitmap && !picture.isBroken && ((hasResult && !isLate) || this.#isLast(dueUs)))
                break;
            this.pictures.shift();
            const isWanted = hasResult || (!isQuick && !this.#hasResult(due));
            (isWanted ? due : picture)?.bitmap?.close();
            due = isWanted ? picture : due;
        }
        for (const picture of this.pictures) {
            if (picture.timestampUs > dueUs + kDecodeAheadMs * 1000)
                break;
            this.#decode(picture);
        }
        if (due?.bitmap)
            this.#showPicture(due, nowMs);
    }

    close() {
        for (const picture of this.pictures)
            picture.bitmap?.close();
        this.pictures = [];
    }

    // Whether no later picture is due as well.
    #isLast(dueUs) {
        return this.pictures.length < 2 || this.pictures[1].timestampUs > dueUs;
    }

    #adjustDelay(nowMs) {
        const hasResults = nowMs - this.lastResultMs < kResultsPauseMs;
        const wanted = hasResults ? Math.max(...this.delays) + kMarginMs : kLeastDelayMs;
        const bounded = Math.min(Math.max(wanted, kLeastDelayMs), kMostDelayMs);
        this.delayMs += (bounded - this.delayMs) * 0.05;
    }

    #decode(picture) {
        if (picture.isDecoding)
            return;
        picture.isDecoding = true;
        createImageBitmap(new Blob([picture.bytes], {type: 'image/jpeg'})).then(
            bitmap => picture.bitmap = bitmap, () => picture.isBroken = true);
    }

    #hasResult(picture) {
        return picture !== null && this.results.has(picture.timestampUs);
    }

    #showPicture(picture, nowMs) {
        const result = this.results.get(picture.timestampUs) ?? null;
        forgetOld(this.results, picture.timestampUs + kKeptUs);
        if (result)
            this.lastOwnMs = nowMs;
        this.show(picture.bitmap, result, picture.timestampUs);
        picture.bitmap.close();
    }
}

// Results of pictures that are not shown any more, or never came.
function forgetOld(byTimestamp, nowUs) {
    for (const timestampUs of byTimestamp.keys()) {
        if (timestampUs < nowUs - kKeptUs)
            byTimestamp.delete(timestampUs);
    }
}
