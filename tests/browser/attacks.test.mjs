// Texts that want to be more than texts, in every field that a page shows.
import assert from 'node:assert/strict';
import {mkdirSync, readdirSync, readFileSync, writeFileSync} from 'node:fs';
import {dirname, join} from 'node:path';
import {after, afterEach, before, beforeEach, test} from 'node:test';
import {urlOf} from './support/account.mjs';
import {accountOf, firstGroup, firstRoom, harmless, payloads} from './support/attacked.mjs';
import {launch, shapeOf, WatchedPage} from './support/browser.mjs';

let browser;
let attacked;
let calm;
let attackedFolder;
let calmFolder;
let watched;
let page;

before(async () => {
    browser = await launch();
    attacked = accountOf(payloads);
    calm = accountOf(harmless);
    attackedFolder = attacked.export('out');
    calmFolder = calm.export('out');
});

after(async () => {
    await browser.close();
    attacked.remove();
    calm.remove();
});

beforeEach(async () => {
    watched = await WatchedPage.open(browser, [urlOf(attackedFolder), urlOf(calmFolder)]);
    page = watched.page;
});

afterEach(async () => {
    await watched.close();
});

async function shapeOfFile(...path) {
    await watched.go(urlOf(...path));
    return shapeOf(page);
}

// The texts of a conversation's page, by where they stand.
function textsOf() {
    return page.evaluate(() => {
        const texts = (selector) => [...document.querySelectorAll(selector)].map((element) => element.textContent);
        return {
            heading: texts('h1 bdi'),
            profile: texts('.profile'),
            names: texts('.sender > bdi:first-child'),
            accounts: texts('.sender .account'),
            plain: texts('.text.plain'),
            extra: texts('.text.extra'),
            missing: texts('.missing bdi'),
            urls: texts('.url'),
            schemes: [...document.querySelectorAll('[href], [src]')]
                .map((element) => new URL(element.href || element.src).protocol),
        };
    });
}

function unique(list) {
    return [...new Set(list)];
}

async function expectTexts(payload, heading) {
    const texts = await textsOf();
    const where = `${payload.name}: ${page.url()}`;
    assert.deepEqual(texts.heading, [heading], where);
    assert.deepEqual(texts.profile, [payload.block], where);
    assert.deepEqual(unique(texts.names), [`nick ${payload.line}`], where);
    assert.deepEqual(texts.plain, [payload.block, 'x', payload.block, payload.block, payload.block], where);
    assert.deepEqual(texts.extra, [payload.block], where);
    assert.deepEqual(texts.missing, Array(6).fill(payload.line), where);
    assert.deepEqual(texts.urls, Array(4).fill(`from ${payload.line}`), where);
    const odd = unique(texts.schemes).filter((scheme) => !['file:', 'http:', 'https:'].includes(scheme));
    assert.deepEqual(odd, [], where);
    return texts;
}

test('there are enough attacks', () => {
    assert.ok(payloads.length >= 50);
});

test('in rooms and groups nothing runs and nothing is injected', async () => {
    for (const [kind, first] of [['room', firstRoom], ['group', firstGroup]]) {
        const expected = await shapeOfFile(calmFolder, `chats/${kind}-${first}/1.html`);
        for (const [i, payload] of payloads.entries()) {
            const shape = await shapeOfFile(attackedFolder, `chats/${kind}-${first + i}/1.html`);
            assert.deepEqual(await watched.findings(), [], payload.name);
            assert.deepEqual(shape, expected, payload.name);
            const texts = await expectTexts(payload, payload.line);
            assert.deepEqual(texts.accounts, [payload.line], payload.name);
        }
    }
});

test('in conversations with users nothing runs and nothing is injected', async () => {
    await watched.go(urlOf(attackedFolder, 'index.html'));
    const links = await page.locator('.conversations a').evaluateAll((elements) => elements
        .map((element) => ({href: element.href, target: element.querySelector('.details bdi').textContent})));
    const expected = await shapeOfFile(calmFolder, 'chats', calmUserFolder(), '1.html');
    for (const payload of payloads) {
        const link = links.find(({target}) => target === `user:${payload.line}`);
        assert.ok(link, payload.name);
        await watched.go(link.href);
        assert.deepEqual(await watched.findings(), [], payload.name);
        assert.deepEqual(await shapeOf(page), expected, payload.name);
        await expectTexts(payload, `nick ${payload.line}`);
    }
});

function calmUserFolder() {
    return readdirSync(join(calmFolder, 'chats')).find((name) => name.startsWith('user-'));
}

test('folders have harmless names', () => {
    for (const name of readdirSync(join(attackedFolder, 'chats'))) {
        assert.match(name, /^(user|room|group)-[A-Za-z0-9_-]{0,70}$/);
    }
    assert.equal(readdirSync(join(attackedFolder, 'chats')).length, 3 * payloads.length);
});

test('in the index nothing runs and nothing is injected', async () => {
    const expected = await shapeOfFile(calmFolder, 'index.html');
    const shape = await shapeOfFile(attackedFolder, 'index.html');
    assert.deepEqual(await watched.findings(), []);
    assert.deepEqual(shape, expected);
    const names = await page.locator('.conversations .name').allTextContents();
    for (const payload of payloads) {
        assert.equal(names.filter((name) => name === payload.line).length, 2, payload.name);
        assert.equal(names.filter((name) => name === `nick ${payload.line}`).length, 1, payload.name);
    }
});

test("the account's own name is a text, too", async () => {
    const names = ['"><script>window.attacked=1</script>', '</title><img src=x onerror=window.attacked=1>'];
    for (const [i, name] of names.entries()) {
        const out = join(attacked.folder, `named-${i}`);
        attacked.run('--user', name, 'export', out, '--file', attacked.database, '--format', 'html');
        watched.wanted = urlOf(out, 'index.html');
        await page.goto(watched.wanted);
        const beyond = (await watched.findings()).filter((finding) => !finding.startsWith(`request: ${urlOf(out)}`));
        assert.deepEqual(beyond, []);
        assert.equal(await page.locator('h1').textContent(), `Conversations of ${name}`);
        assert.equal(await page.title(), `Conversations of ${name}`);
    }
});

test('search results show attacks as what they are', async () => {
    await watched.go(urlOf(attackedFolder, 'index.html'));
    for (const payload of payloads) {
        const asked = payload.block.trim().split(/[\t\n]/)[0].slice(0, 60).trim();
        await page.locator('#search-text').fill(asked);
        await page.locator('#search-text').press('Enter');
        await page.locator('#hits li').first().waitFor();
        while (await page.locator('#more-hits').isVisible()) {
            await page.locator('#more-hits').click();
        }
        const found = await page.evaluate(() => ({
            elements: [...document.querySelectorAll('#hits *')]
                .map((element) => `${element.localName}[${element.getAttributeNames().sort().join(' ')}]`),
            marks: [...document.querySelectorAll('#hits mark')].map((mark) => mark.textContent),
            places: [...document.querySelectorAll('#hits .where bdi')].map((place) => place.textContent),
            people: [...document.querySelectorAll('#hits .who')].map((person) => person.textContent),
            protocols: [...document.querySelectorAll('#hits a')].map((link) => link.protocol),
        }));
        assert.deepEqual(unique(found.elements).sort(),
            ['a[href]', 'bdi[]', 'li[]', 'mark[]', 'span[class dir]', 'span[class title]', 'span[class]'],
            payload.name);
        assert.ok(found.marks.length >= 3, payload.name);
        assert.deepEqual(unique(found.marks.map((mark) => mark.toLowerCase())), [asked.toLowerCase()], payload.name);
        assert.ok(found.places.includes(payload.line), payload.name);
        assert.ok(found.people.includes(`nick ${payload.line}`), payload.name);
        assert.deepEqual(unique(found.protocols), ['file:'], payload.name);
        assert.deepEqual(await watched.findings(), [], payload.name);
    }
});

test('every page forbids all scripts but its own', () => {
    const policy = '<meta http-equiv="Content-Security-Policy" content="default-src \'none\'; script-src \'self\'; '
        + 'style-src \'self\'; img-src \'self\'; media-src \'self\'; base-uri \'none\'; form-action \'none\'">';
    const chats = join(attackedFolder, 'chats');
    const pages = readdirSync(chats).map((name) => join(chats, name, '1.html'));
    for (const file of [...pages, join(attackedFolder, 'index.html')]) {
        assert.ok(readFileSync(file, 'utf8').includes(policy), file);
    }
});

// The probe itself: put unescaped into a page on purpose, attacks must be noticed.

async function findingsOf(name, change) {
    const harmlessPage = readFileSync(join(calmFolder, `chats/room-${firstRoom}/1.html`), 'utf8');
    const changed = change(harmlessPage);
    assert.notEqual(changed, harmlessPage);
    const file = join(calmFolder, 'chats', name, '1.html');
    mkdirSync(dirname(file), {recursive: true});
    writeFileSync(file, changed);
    await watched.go(urlOf(file));
    await page.waitForTimeout(100);  // handlers of pictures run a little later than the page's end
    return watched.findings();
}

const unescaped = (html) => (harmlessPage) => harmlessPage.replace('harmless 0</p>', `${html}</p>`);
const withoutPolicy = (html) => (harmlessPage) =>
    unescaped(html)(harmlessPage).replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, '');

test('the probe notices a script that runs', async () => {
    for (const html of ['<script>window.attacked=1</script>', '<img src=x onerror=window.attacked=1>']) {
        assert.ok((await findingsOf('script', withoutPolicy(html))).includes('a script of an attack ran'), html);
    }
});

test('the probe notices a script that the policy stops', async () => {
    const findings = await findingsOf('stopped', unescaped('<script>window.attacked=1</script>'));
    assert.ok(findings.some((finding) => finding.startsWith('console: ')), findings.join('\n'));
    assert.ok(!findings.includes('a script of an attack ran'));
});

test('the probe notices dialogs, requests and leaving', async () => {
    assert.ok((await findingsOf('dialog', withoutPolicy('<script>alert(1)</script>'))).includes('dialog: 1'));
    assert.ok((await findingsOf('request', withoutPolicy('<img src=https://attack.invalid/x>')))
        .includes('request: https://attack.invalid/x'));
    const left = await findingsOf('left', withoutPolicy('<script>location.hash = "x"</script>'));
    assert.ok(left.some((finding) => finding.startsWith('it went to ')), left.join('\n'));
});

test('the probe notices an injected element that does nothing', async () => {
    const expected = await shapeOfFile(calmFolder, `chats/room-${firstRoom}/1.html`);
    for (const html of ['<b>x</b>', '<a href="x">x</a>']) {
        assert.deepEqual(await findingsOf('element', unescaped(html)), []);
        assert.notDeepEqual(await shapeOf(page), expected, html);
    }
    await findingsOf('attribute', (text) => text.replace('<p class="text plain"', '<p class="text plain" title="x"'));
    assert.notDeepEqual(await shapeOf(page), expected);
});
