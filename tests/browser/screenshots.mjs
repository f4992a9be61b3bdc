// Makes the pictures of docs/ from a small made-up account: node screenshots.mjs FOLDER
import {statSync} from 'node:fs';
import {join} from 'node:path';
import {urlOf} from './support/account.mjs';
import {launch} from './support/browser.mjs';
import {sampleAccount} from './support/sample.mjs';

const largest = 150 * 1024;
const wide = {width: 640, height: 520};
const phone = {width: 420, height: 860};
// followed: the conversation that is opened from the index; atEnd: where its newest messages are
const pictures = [
    {name: 'export-index.png', colorScheme: 'light', viewport: wide},
    {name: 'export-conversation.png', followed: 'Alice Springer', atEnd: true, colorScheme: 'light',
        viewport: phone},
    {name: 'export-dark.png', followed: 'garden', colorScheme: 'dark', viewport: phone},
];

const folder = process.argv[2];
const account = sampleAccount();
const browser = await launch();
try {
    const out = account.export('out');
    for (const {name, followed, atEnd, colorScheme, viewport} of pictures) {
        const context = await browser.newContext({colorScheme, viewport});
        const shown = await context.newPage();
        await shown.goto(urlOf(out, 'index.html'));
        if (followed) {
            await shown.locator('.conversations a', {hasText: followed}).click();
            await shown.locator('.messages').first().waitFor();
        }
        if (atEnd) {
            await shown.evaluate(() => scrollTo(0, document.body.scrollHeight));
        }
        await shown.screenshot({path: join(folder, name)});
        await context.close();
        if (statSync(join(folder, name)).size > largest) {
            throw new Error(`${name} is larger than ${largest} bytes`);
        }
    }
} finally {
    await browser.close();
    account.remove();
}
