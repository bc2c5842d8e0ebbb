// Shows the pictures of one camera with the boxes that belong to them. A result comes later than its
// picture, so pictures are shown with the delay that results have just now: a picture and the result
// of the same timestamp are shown together, and the pictures run smoothly. A picture that the
// application has left out shows the last result for a while, marked as held.
// All times in milliseconds of this page's clock, except timestamps, which are the host's, in us.

const kLeastDelayMs = 80;
const kMostDelayMs = 2500;
const kMarginMs = 60;
const kDecodeAheadMs = 200;
const kHeldUs = 1_000_000;
const kResultsPauseMs = 3000;
const kSamples = 40;
const kKeptUs = 10_000_000;

export class Player {
    // show(bitmap, result, isHeld, timestampUs); result may be null.
    constructor(show) {
        this.show = show;
        this.pictures = []; // rising timestamps
        this.results = new Map(); // by timestamp
        this.objects = new Map(); // of results whose events have not come yet
        this.offsetMs = Infinity; // from the host's clock to the page's, with the fastest way
        this.delayMs = kLeastDelayMs;
        this.delays = []; // of the last results
        this.lastResultMs = -Infinity;
        this.lastShownUs = 0;
    }

    addPicture(timestampUs, bytes, nowMs) {
        const onTheWayMs = nowMs - timestampUs / 1000;
        // A clock that drifts is followed slowly, one that jumps at once.
        this.offsetMs = Math.abs(onTheWayMs - this.offsetMs) > 10_000
            ? onTheWayMs
            : Math.min(this.offsetMs + 0.05, onTheWayMs);
        this.pictures.push({timestampUs, bytes, bitmap: null, isDecoding: false});
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
        let due = null;
        while (this.pictures.length > 0 && this.pictures[0].timestampUs <= dueUs) {
            const picture = this.pictures[0];
            if (!picture.bitmap && this.#isLast(dueUs))
                break; // still being decoded
            due?.bitmap?.close();
            due = picture;
            this.pictures.shift();
        }
        for (const picture of this.pictures) {
            if (picture.timestampUs > dueUs + kDecodeAheadMs * 1000)
                break;
            this.#decode(picture);
        }
        if (due?.bitmap)
            this.#showPicture(due);
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
            bitmap => picture.bitmap = bitmap, () => {});
    }

    #showPicture(picture) {
        let latest = null;
        for (const [timestampUs, result] of this.results) {
            if (timestampUs <= picture.timestampUs - kHeldUs)
                this.results.delete(timestampUs);
            else if (timestampUs <= picture.timestampUs
                     && (!latest || timestampUs > latest.timestampUs))
                latest = result;
        }
        const isHeld = latest !== null && latest.timestampUs !== picture.timestampUs;
        this.show(picture.bitmap, latest, isHeld, picture.timestampUs);
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
