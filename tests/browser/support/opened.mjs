// What the tests of a file look at: an account, its export, and for each test a page of it that is watched.
import {after, afterEach, before, beforeEach} from 'node:test';
import {urlOf} from './account.mjs';
import {launch, WatchedPage} from './browser.mjs';
import {addLargeRooms, sampleAccount} from './sample.mjs';

// To be called once by a file of tests. use: takes browser, account, folder, watched and page before each test.
export function withOpenedExport(use) {
    const opened = {};
    before(async () => {
        opened.browser = await launch();
        opened.account = sampleAccount();
        addLargeRooms(opened.account);
        opened.folder = opened.account.export('out', '--page', '500');
    });
    after(async () => {
        await opened.browser.close();
        opened.account.remove();
    });
    beforeEach(async () => {
        opened.watched = await WatchedPage.open(opened.browser, [urlOf(opened.folder)]);
        opened.page = opened.watched.page;
        use(opened);
    });
    afterEach(async () => {
        await opened.watched.close();
    });
}
