// The search box, over files: there is no network.
import assert from 'node:assert/strict';
import {rmSync} from 'node:fs';
import {join} from 'node:path';
import {test} from 'node:test';
import {urlOf} from './support/account.mjs';
import {shapeOf, WatchedPage} from './support/browser.mjs';
import {withOpenedExport} from './support/opened.mjs';

let browser;
let account;
let folder;
let watched;
let page;

withOpenedExport((opened) => {
    ({browser, account, folder, watched, page} = opened);
});

const index = () => urlOf(folder, 'index.html');

async function search(text) {
    await page.locator('#search-text').fill(text);
    await page.locator('#search-text').press('Enter');
    await page.locator('#results:not([hidden])').waitFor({state: 'attached'});
}

async function nothingElse() {
    watched.wanted = page.url();
    assert.deepEqual(await watched.findings(), []);
    assert.ok(watched.requests.every((url) => url.startsWith('file:')));
}

test('nothing is loaded before somebody searches', async () => {
    await watched.go(index());
    assert.ok(!watched.requests.some((url) => url.includes('/search/')));
    await search('kettle');
    const loaded = watched.requests.filter((url) => url.includes('/search/'));
    assert.equal(loaded.length, 3);  // the list, and messages of more than half a megabyte
    await search('frost');
    assert.equal(watched.requests.filter((url) => url.includes('/search/')).length, 3);
    await nothingElse();
});

test('a hit is shown in its context and leads to its message', async () => {
    await watched.go(index());
    await search('KETTLE');
    assert.equal(await page.locator('#search-count').textContent(), '1 message found');
    assert.equal(await page.locator('#hits .where').textContent(), 'garden · 2024-03-01 07:59');
    assert.equal(await page.locator('#hits .who').textContent(), 'tomas');
    assert.equal(await page.locator('#hits .snippet').textContent(), "barely. the kettle's on");
    assert.equal(await page.locator('#hits mark').textContent(), 'kettle');
    await page.locator('#hits a').click();
    await page.locator('.message:target').waitFor();
    assert.equal(await page.locator('.message:target .text').textContent(), "barely. the kettle's on");
    await nothingElse();
});

test('a hit on the page itself is jumped to', async () => {
    await watched.go(urlOf(folder, 'chats/user-alice/1.html'));
    await search('sandwiches');
    await page.locator('#hits a').click();
    await page.locator('.message:target').waitFor();
    assert.ok(await page.locator('main').isVisible());
    assert.ok(!await page.locator('#results').isVisible());
    await nothingElse();
});

test('small and capital letters are the same, also beyond ASCII', async () => {
    await watched.go(index());
    await search('¡BUENOS DÍAS!');
    assert.equal(await page.locator('#hits mark').textContent(), '¡buenos días!');
    await nothingElse();
});

test('every character is searched for as it is', async () => {
    await watched.go(index());
    const texts = ['%SPRING%', '"Moneymaker"', "`tomato'); --`", 'zone=8&month', 'printf("%s %d %n", ...)',
        '\\n', '❄'];
    for (const text of texts) {
        await search(text);
        assert.deepEqual(await page.locator('#hits mark').allTextContents(), [text]);
    }
    await search('.*');
    assert.equal(await page.locator('#search-count').textContent(), '0 messages found');
    await nothingElse();
});

test('the newest come first, 200 at once', async () => {
    await watched.go(index());
    await search('of many');
    assert.equal(await page.locator('#search-count').textContent(), '2600 messages found, the newest 200 are shown');
    assert.equal(await page.locator('#hits li').count(), 200);
    assert.match(await page.locator('#hits .snippet').first().textContent(), /^number 2600 of many/);
    assert.match(await page.locator('#hits a').first().getAttribute('href'), /\/chats\/room-7000\/6\.html#m\d+$/);
    await page.getByRole('button', {name: 'Show more'}).click();
    await page.waitForTimeout(300);  // what was typed is not searched for once more
    assert.equal(await page.locator('#hits li').count(), 400);
    assert.equal(await page.locator('#search-count').textContent(), '2600 messages found, the newest 400 are shown');
    assert.match(await page.locator(':focus .snippet').textContent(), /^number 2400 /);
    const dates = await page.locator('#hits .where').allTextContents();
    assert.deepEqual(dates, [...dates].sort().reverse());
    await nothingElse();
});

test('names of files and extra texts are found', async () => {
    await watched.go(index());
    for (const text of ['lost.jpg', 'sent from the train', 'packing list']) {
        await search(text);
        assert.equal(await page.locator('#hits li').count(), 1, text);
    }
    await nothingElse();
});

test('typing searches, and emptying the box ends it', async () => {
    await watched.go(index());
    await page.locator('#search-text').pressSequentially('frost');
    await page.locator('#hits li').first().waitFor();
    assert.ok(!await page.locator('main').isVisible());
    await page.locator('#search-text').fill('');
    await page.locator('main').waitFor();
    assert.equal(await page.locator('#search-count').textContent(), '');
    await nothingElse();
});

test('the keyboard is enough', async () => {
    await watched.go(index());
    await page.keyboard.press('/');
    assert.equal(await page.evaluate(() => document.activeElement.id), 'search-text');
    await page.keyboard.type('frost');
    await page.locator('#hits li').first().waitFor();
    const focused = () => page.evaluate(() =>
        [...document.querySelectorAll('#hits a')].indexOf(document.activeElement));
    await page.keyboard.press('ArrowDown');
    assert.equal(await focused(), 0);
    await page.keyboard.press('ArrowDown');
    assert.equal(await focused(), 1);
    await page.keyboard.press('ArrowUp');
    await page.keyboard.press('ArrowUp');
    assert.equal(await page.evaluate(() => document.activeElement.id), 'search-text');
    await page.keyboard.press('ArrowDown');
    await page.keyboard.press('Escape');
    assert.ok(await page.locator('main').isVisible());
    assert.equal(await page.evaluate(() => document.activeElement.id), 'search-text');
    await page.keyboard.type('a/b');
    assert.equal(await page.locator('#search-text').inputValue(), 'a/b');
    await page.keyboard.press('Escape');
    await page.keyboard.type('kettle');
    await page.locator('#hits li').first().waitFor();
    await page.keyboard.press('ArrowDown');
    await page.keyboard.press('Enter');
    await page.locator('.message:target').waitFor();
    await nothingElse();
});

test('the number of hits is read out', async () => {
    await watched.go(index());
    const count = page.getByRole('status');
    assert.equal(await count.getAttribute('aria-live'), 'polite');
    await search('kettle');
    assert.equal(await count.textContent(), '1 message found');
    await page.getByRole('region', {name: 'Search results'}).waitFor();
    await nothingElse();
});

test('hits are made of texts, links and marks alone', async () => {
    await watched.go(index());
    const elements = new Set(await shapeOf(page));
    await search('frost');
    const added = new Set((await shapeOf(page)).filter((element) => !elements.has(element)));
    assert.deepEqual([...added].sort(), ['button[id type]', 'main[hidden id tabindex]', 'mark[]',
        'script[src]', 'section[aria-label id]', 'span[class dir]', 'span[class title]']);
    await nothingElse();
});

test('a search file that is lost is told of', async () => {
    const damaged = account.export('damaged', '--page', '500');
    rmSync(join(damaged, 'search/1.js'));
    const other = await WatchedPage.open(browser, [urlOf(damaged)]);
    await other.go(urlOf(damaged, 'index.html'));
    await other.page.locator('#search-text').fill('of many');
    await other.page.locator('#search-text').press('Enter');
    await other.page.locator('#results:visible').waitFor();
    assert.match(await other.page.locator('#search-count').textContent(),
        /^\d+ messages? found.*; 1 of the search files could not be loaded$/);
    await other.close();
});
