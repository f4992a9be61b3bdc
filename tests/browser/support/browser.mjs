// Chromium, and a probe that notices everything a page does beyond showing itself.
import {chromium} from 'playwright-core';

export async function launch() {
    const isRoot = process.getuid() === 0;
    return chromium.launch({
        executablePath: process.env.PELKO_CHROMIUM,
        args: isRoot ? ['--no-sandbox'] : [],
    });
}

// A page whose every step is watched.
export class WatchedPage {
    // allowed: the URLs, or starts of URLs, that may be loaded
    static async open(browser, allowed, options = {}) {
        const context = await browser.newContext({viewport: {width: 900, height: 900}, ...options});
        context.setDefaultTimeout(10000);
        const page = await context.newPage();
        return new WatchedPage(context, page, allowed);
    }

    constructor(context, page, allowed) {
        this.context = context;
        this.page = page;
        this.seen = [];
        this.requests = [];
        context.on('page', (other) => this.seen.push(`another page was opened: ${other.url()}`));
        page.on('dialog', async (dialog) => {
            this.seen.push(`dialog: ${dialog.message()}`);
            await dialog.dismiss();
        });
        page.on('console', (message) => {
            if (message.type() === 'error') {
                this.seen.push(`console: ${message.text()}`);
            }
        });
        page.on('pageerror', (error) => this.seen.push(`script error: ${error.message}`));
        page.on('request', (request) => {
            this.requests.push(request.url());
            if (!allowed.some((start) => request.url().startsWith(start))) {
                this.seen.push(`request: ${request.url()}`);
            }
        });
        page.on('download', (download) => this.seen.push(`download: ${download.url()}`));
    }

    // Opens a page and waits until it is whole. What it did is in findings().
    async go(url) {
        this.wanted = url;
        await this.page.goto(url, {waitUntil: 'load'});
    }

    // What went beyond the page, in words; empty when nothing did.
    async findings() {
        const found = this.seen.splice(0);
        if (this.page.url() !== this.wanted) {
            found.push(`it went to ${this.page.url()}`);
        }
        if (await this.page.evaluate(() => window.attacked !== undefined)) {
            found.push('a script of an attack ran');
        }
        return found;
    }

    async close() {
        await this.context.close();
    }
}

// All elements of the page with the names of their attributes, in order; but for the links in texts, which
// depend on the text.
export function shapeOf(page) {
    return page.evaluate(() => [...document.querySelectorAll('*')]
        .filter((element) => !element.matches('a.link, a.link *'))
        .map((element) => `${element.localName}[${element.getAttributeNames().sort().join(' ')}]`));
}
