// What a screen reader and a keyboard need, as lists of what is wrong.

export function accessibilityFaults(page) {
    return page.evaluate(() => {
        const faults = [];
        const expectThat = (holds, fault) => holds || faults.push(fault);
        const all = (selector) => [...document.querySelectorAll(selector)];
        expectThat(document.documentElement.lang !== '', 'no language');
        expectThat(document.title !== '', 'no title');
        expectThat(all('main').length === 1, 'not one main part');
        expectThat(all('body > header').length === 1, 'not one header');
        expectThat(all('[role=search]').length === 1, 'not one search');
        expectThat(all('h1').length === 1, 'not one first heading');
        let level = 0;
        for (const heading of all('h1, h2, h3, h4, h5, h6')) {
            const own = Number(heading.localName[1]);
            expectThat(own <= level + 1, `a heading of level ${own} below one of ${level}`);
            expectThat(heading.textContent.trim() !== '', 'an empty heading');
            level = own;
        }
        for (const control of all('a[href], button')) {
            const name = control.getAttribute('aria-label') || control.textContent.trim()
                || [...control.querySelectorAll('img')].map((image) => image.alt).join('');
            expectThat(name !== '', `without a name: ${control.outerHTML}`);
        }
        for (const field of all('input')) {
            expectThat(field.labels.length === 1, `without a label: ${field.outerHTML}`);
        }
        for (const audio of all('audio, nav, section')) {
            expectThat((audio.getAttribute('aria-label') || '') !== '', `without a label: ${audio.localName}`);
        }
        const labels = all('nav').map((nav) => nav.getAttribute('aria-label'));
        expectThat(new Set(labels).size === labels.length, 'two navigations of one name');
        for (const image of all('img')) {
            expectThat(image.alt !== '', 'a picture without words');
        }
        for (const list of all('ol, ul')) {
            expectThat([...list.children].every((item) => item.localName === 'li'), 'a list of other things');
        }
        const ids = all('[id]').map((element) => element.id);
        expectThat(new Set(ids).size === ids.length, 'an id twice');
        return faults;
    });
}

// The texts whose contrast to what is behind them is below 4.5, as WCAG AA wants it for normal text.
export function lowContrasts(page) {
    return page.evaluate(() => {
        const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
        const luminance = (colour) => channels(colour).slice(0, 3)
            .map((value) => value / 255)
            .map((value) => value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4)
            .reduce((sum, value, i) => sum + value * [0.2126, 0.7152, 0.0722][i], 0);
        const isClear = (colour) => channels(colour)[3] === 0;
        const behind = (element) => {
            const colour = getComputedStyle(element).backgroundColor;
            return isClear(colour) && element.parentElement ? behind(element.parentElement) : colour;
        };
        const faults = new Set();
        for (const element of document.querySelectorAll('body *')) {
            const hasText = [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim() !== '');
            if (!hasText || !element.checkVisibility()) {
                continue;
            }
            const tones = [luminance(getComputedStyle(element).color), luminance(behind(element))].sort();
            const contrast = (Math.max(...tones) + 0.05) / (Math.min(...tones) + 0.05);
            if (contrast < 4.5) {
                faults.add(`${element.localName}.${element.className}: ${contrast.toFixed(2)}`);
            }
        }
        return [...faults];
    });
}
