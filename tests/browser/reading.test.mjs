// The pages as somebody reads them.
import assert from 'node:assert/strict';
import {test} from 'node:test';
import {urlOf} from './support/account.mjs';
import {accessibilityFaults, lowContrasts} from './support/accessibility.mjs';
import {WatchedPage} from './support/browser.mjs';
import {withOpenedExport} from './support/opened.mjs';
import {sampleAccount} from './support/sample.mjs';

let browser;
let account;
let folder;
let watched;
let page;

const index = () => urlOf(folder, 'index.html');
const chat = (name, number = 1) => urlOf(folder, 'chats', name, `${number}.html`);

withOpenedExport((opened) => {
    ({browser, account, folder, watched, page} = opened);
});

async function nothingElse() {
    watched.wanted = page.url();
    assert.deepEqual(await watched.findings(), []);
}

test('the index shows the conversations, pinned ones first, and leads to them', async () => {
    await watched.go(index());
    assert.equal(await page.title(), 'Conversations of me');
    const names = await page.locator('.conversations .name').allTextContents();
    assert.deepEqual(names.slice(0, 2), ['Alice Springer', 'Large room']);
    assert.deepEqual(names.slice(-2).sort(), ['garden', 'workshop']);
    const first = page.locator('.conversations li').first();
    assert.equal(await first.locator('.pinned').textContent(), 'pinned');
    assert.equal(await first.locator('.badge').textContent(), '1 unread');
    assert.equal(await first.locator('.last').textContent(), 'Alice Springer: Great, I bring the sandwiches');
    assert.match(await page.locator('.facts').textContent(), /all conversations, all dates/);
    await first.getByRole('link').click();
    assert.equal(page.url(), chat('user-alice'));
    await page.getByRole('link', {name: 'All conversations'}).click();
    assert.equal(page.url(), index());
    await nothingElse();
});

test('own messages stand on the right, those of others on the left', async () => {
    await watched.go(chat('user-alice'));
    const width = (await page.locator('.messages').first().boundingBox()).width;
    for (const bubble of await page.locator('.message').all()) {
        const isOwn = await bubble.evaluate((element) => element.classList.contains('own'));
        const box = await bubble.boundingBox();
        const left = (await page.locator('.messages').first().boundingBox()).x;
        assert.ok(box.width < width * 0.86);
        assert.ok(isOwn ? Math.abs(box.x + box.width - left - width) < 1 : Math.abs(box.x - left) < 1);
    }
    assert.equal(await page.locator('.message').count(), 11);
    assert.equal(await page.locator('.message.own').count(), 4);
    await nothingElse();
});

test('days, names, times and states are told', async () => {
    await watched.go(chat('user-alice'));
    assert.deepEqual(await page.locator('.day').allTextContents(),
        ['Saturday, 9 March 2024', 'Sunday, 10 March 2024']);
    assert.deepEqual(await page.locator('.own .foot').allTextContents(),
        ['18:41 sent', '07:58 sent', '08:07 sent', '08:07 failed']);
    assert.equal(await page.locator('.message').last().locator('.foot').textContent(), 'unread 08:15');
    assert.equal(await page.locator('.action').textContent(), '* me is running late');
    assert.equal(await page.locator('.extra').textContent(), 'sent from the train');
    await page.goto(urlOf(folder, 'index.html'));
    await page.getByRole('link', {name: /^garden/}).click();
    const names = await page.locator('.sender:not(.unseen)').allTextContents();
    assert.deepEqual(names.slice(0, 3), ['wren', 'tomas', 'wren']);
    await nothingElse();
});

test('pictures and sounds are shown, other files are linked, lost ones are named', async () => {
    await watched.go(chat('user-alice'));
    const image = page.locator('.image img');
    assert.equal(await image.evaluate((element) => element.decode().then(() => element.naturalWidth)), 320);
    assert.equal(await image.getAttribute('alt'), 'hills.png');
    const seconds = await page.locator('audio').evaluate((audio) => new Promise((resolve, reject) => {
        audio.onloadedmetadata = () => resolve(audio.duration);
        audio.onerror = () => reject(audio.error);
        audio.load();
    }));
    assert.equal(seconds, 2);
    assert.equal(await page.locator('.file a').textContent(), 'packing list.txt');
    assert.equal(await page.locator('.missing').textContent(), 'image users/me/image/lost.jpg (not in this export)');
    assert.equal(await page.locator('.url').textContent(), 'from https://example.org/lost.jpg');
    await nothingElse();
});

test('linked originals outside the export are shown, too', async () => {
    const linked = account.export('linked', '--media', 'link');
    const files = await WatchedPage.open(browser, [urlOf(account.folder)]);
    await files.go(urlOf(linked, 'chats/user-alice/1.html'));
    const image = files.page.locator('.image img');
    assert.equal(await image.evaluate((element) => element.src), urlOf(account.data, 'users/me/image/hills.png'));
    assert.equal(await image.evaluate((element) => element.decode().then(() => element.naturalWidth)), 320);
    assert.deepEqual(await files.findings(), []);
    await files.close();
});

/// An account with files that a browser would run scripts in, each named by messages of three kinds.
function accountWithScripts() {
    const other = sampleAccount();
    const page = '<svg xmlns="http://www.w3.org/2000/svg"><script>window.attacked = 1; alert(1)</script></svg>';
    const paths = ['page.html', 'PAGE.HTM', 'drawing.svg', 'drawing.SVG', 'page.xhtml', 'page.xml', 'page.mht', 'none',
        'photo.png.html', 'photo.'].map((name) => other.file(`users/me/files/${name}`, page));
    other.sql(paths.map((path) => other.message({sender_id: 'bob', date: 1, type: 3, media_type: 3, media_path: path})
        + other.message({sender_id: 'bob', date: 2, type: 1, media_type: 1, media_path: path})
        + other.message({sender_id: 'bob', date: 3, type: 2, media_type: 2, media_path: path})).join(''));
    return {other, count: paths.length};
}

test('no original that could hold a script is linked', async () => {
    const {other, count} = accountWithScripts();
    const out = other.export('out', '--media', 'link');
    const files = await WatchedPage.open(browser, [urlOf(out), urlOf(other.data)]);
    await files.go(urlOf(out, 'chats/user-bob/1.html'));
    assert.equal(await files.page.locator('.message').count(), 3 * count);
    assert.equal(await files.page.locator('.message a').count(), 0);
    assert.equal(await files.page.locator('.place').count(), count);
    assert.deepEqual(await files.findings(), []);
    await files.close();
    other.remove();
});

test('a copy of a file that could hold a script is saved when it is opened, never run', async () => {
    const {other, count} = accountWithScripts();
    const out = other.export('out');
    const files = await WatchedPage.open(browser, [urlOf(out)]);
    await files.go(urlOf(out, 'chats/user-bob/1.html'));
    assert.equal(await files.page.locator('.message').count(), 3 * count);
    const links = files.page.locator('.message a');
    assert.ok(await links.count() >= count);
    const saved = [];
    for (const link of await links.all()) {
        const download = files.page.waitForEvent('download');
        await link.click();
        assert.match((await download).suggestedFilename(), /\.bin$/);
        saved.push(`download: ${(await download).url()}`);
    }
    assert.deepEqual(await files.findings(), saved);
    await files.close();
    other.remove();
});

test('only http and https become links, and the rest stays text', async () => {
    await watched.go(chat('user-alice'));
    const link = page.locator('.text a.link');
    assert.equal(await link.count(), 1);
    assert.equal(await link.getAttribute('href'), 'https://example.org/trains?day=sunday&n=812');
    assert.equal(await link.getAttribute('rel'), 'noreferrer noopener');
    const text = link.locator('..');
    assert.equal(await text.textContent(),
        'The 8:12, see https://example.org/trains?day=sunday&n=812.\nIt runs every hour after that.');
    assert.equal(await text.evaluate((element) => getComputedStyle(element).whiteSpace), 'pre-wrap');
    await nothingElse();
});

test('long conversations are read page by page', async () => {
    await watched.go(chat('room-7000'));
    const pager = page.getByRole('navigation', {name: 'Pages', exact: true});
    assert.equal(await pager.getByRole('link', {name: 'Previous'}).count(), 0);
    assert.match(await page.locator('.text').first().textContent(), /^number 1 /);
    assert.equal(await page.locator('.message').count(), 500);
    await pager.getByRole('link', {name: 'Next'}).click();
    assert.equal(page.url(), chat('room-7000', 2));
    assert.match(await page.locator('.text').first().textContent(), /^number 501 /);
    assert.equal(await pager.locator('.near [aria-current=page]').textContent(), '2 from 2024-05-01');
    await pager.getByRole('link', {name: 'Last'}).click();
    assert.equal(page.url(), chat('room-7000', 6));
    assert.equal(await page.locator('.message').count(), 100);
    assert.equal(await pager.getByRole('link', {name: 'Next'}).count(), 0);
    await pager.getByRole('link', {name: 'Previous'}).click();
    assert.equal(page.url(), chat('room-7000', 5));
    await pager.locator('summary').click();
    await pager.locator('.far').getByRole('link', {name: '4 from 2024-05-02'}).click();
    assert.equal(page.url(), chat('room-7000', 4));
    await pager.getByRole('link', {name: 'First'}).click();
    assert.equal(page.url(), chat('room-7000', 1));
    await nothingElse();
});

test('pages can be used by ear and by keyboard', async () => {
    for (const url of [index(), chat('user-alice'), chat('room-7000', 2)]) {
        await watched.go(url);
        assert.deepEqual(await accessibilityFaults(page), [], url);
        await page.keyboard.press('Tab');
        const skip = page.locator(':focus');
        assert.match(await skip.textContent(), /^Skip to/);
        assert.ok((await skip.boundingBox()).x >= 0, 'the skip link is seen when it has the focus');
        assert.notEqual(await skip.evaluate((element) => getComputedStyle(element).outlineStyle), 'none');
        await page.keyboard.press('Enter');
        watched.wanted = `${url}#main`;
        assert.equal(await page.evaluate(() => document.activeElement.id), 'main');
        assert.deepEqual(await watched.findings(), []);
    }
});

test('every text can be told from what is behind it, in light and in dark', async () => {
    const backgrounds = [];
    for (const colorScheme of ['light', 'dark']) {
        await page.emulateMedia({colorScheme});
        for (const url of [index(), chat('user-alice'), chat('room-7000', 2)]) {
            await watched.go(url);
            assert.deepEqual(await lowContrasts(page), [], `${colorScheme} ${url}`);
        }
        await watched.go(index());
        await page.locator('#search-text').fill('number 7');
        await page.locator('#search-text').press('Enter');
        await page.locator('#hits li').first().waitFor();
        assert.deepEqual(await lowContrasts(page), [], `${colorScheme} hits`);
        backgrounds.push(await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
    }
    const [light, dark] = backgrounds.map((colour) => Number(colour.match(/\d+/)[0]));
    assert.ok(light > 200 && dark < 50, backgrounds.join(' and '));
    await nothingElse();
});

test('the colours of all names can be told from bubbles', async () => {
    for (const colorScheme of ['light', 'dark']) {
        await page.emulateMedia({colorScheme});
        await watched.go(chat('user-alice'));
        await page.evaluate(() => {
            const bubble = document.querySelector('.message:not(.own)');
            for (let i = 0; i < 8; ++i) {
                const name = document.createElement('p');
                name.className = `sender name-${i}`;
                name.textContent = 'name';
                bubble.append(name);
            }
        });
        const colours = await page.locator('.sender:not(.unseen)')
            .evaluateAll((names) => names.map((name) => getComputedStyle(name).color));
        assert.equal(new Set(colours).size, 8);
        assert.deepEqual(await lowContrasts(page), [], colorScheme);
    }
});

test('pages print without what paper has no use for', async () => {
    await page.emulateMedia({media: 'print', colorScheme: 'dark'});
    await watched.go(chat('room-7000', 2));
    assert.ok(!await page.locator('#search-area').isVisible());
    assert.equal(await page.locator('.pager:visible').count(), 0);
    assert.ok(await page.locator('.message').first().isVisible());
    const bubble = await page.locator('.message').first().evaluate((element) => {
        const style = getComputedStyle(element);
        return {inside: style.breakInside, background: style.backgroundColor, colour: style.color};
    });
    assert.deepEqual(bubble, {inside: 'avoid', background: 'rgb(255, 255, 255)', colour: 'rgb(0, 0, 0)'});
    assert.deepEqual(await lowContrasts(page), []);
    await nothingElse();
});

test('nothing is wider than the smallest phone', async () => {
    await page.setViewportSize({width: 320, height: 640});
    for (const url of [index(), chat('user-alice'), chat('room-7000', 3), chat('room-7001')]) {
        await watched.go(url);
        await page.locator('#search-text').waitFor();
        assert.equal(await page.evaluate(() => document.scrollingElement.scrollWidth), 320, url);
    }
    await page.locator('#search-text').fill('xxx');
    await page.locator('#search-text').press('Enter');
    await page.locator('#hits li').first().waitFor();
    assert.equal(await page.evaluate(() => document.scrollingElement.scrollWidth), 320, 'hits');
    await nothingElse();
});

test('without scripts everything but the search is there', async () => {
    const plain = await WatchedPage.open(browser, [urlOf(folder)], {javaScriptEnabled: false});
    await plain.page.goto(chat('user-alice'));
    assert.equal(await plain.page.locator('.message:visible').count(), 11);
    assert.ok(!await plain.page.locator('#search-area').isVisible());
    await plain.close();
});
