// The search box. Pages that are opened as files cannot fetch anything, so the search data are scripts, which
// are loaded when somebody searches for the first time. They hand over plain lists:
//
//   pelkoSearchList(number of files with messages, [[title, target, folder], ...])
//   pelkoSearch(number of the file, [[conversation, page, row, seconds, "date", "sender", "text"], ...])
//
// All texts get into the page as text, never as HTML.
'use strict';

(() => {
    const root = new URL('.', document.currentScript.src);
    const hitsAtOnce = 200;
    const contextLength = 80;

    const conversations = [];
    const messages = [];
    let loading = null;
    let hits = [];
    let pattern = null;
    let shown = 0;

    const element = (id) => document.getElementById(id);
    const area = element('search-area');
    const box = element('search-text');
    const count = element('search-count');
    const results = element('results');
    const list = element('hits');
    const more = element('more-hits');
    const close = element('search-close');
    const main = element('main');

    function loadScript(name) {
        return new Promise((resolve) => {
            const script = document.createElement('script');
            script.src = new URL(name, root).href;
            script.onload = () => resolve(true);
            script.onerror = () => resolve(false);
            document.head.append(script);
        });
    }

    // Resolves to how many files could not be loaded.
    async function loadAll() {
        let files = 0;
        window.pelkoSearchList = (fileCount, found) => {
            files = fileCount;
            conversations.push(...found);
        };
        window.pelkoSearch = (number, found) => {
            for (const [conversation, page, row, seconds, date, sender, text] of found) {
                messages.push({conversation, page, row, seconds, date, sender, text, place: messages.length});
            }
        };
        let missing = await loadScript('search/list.js') ? 0 : 1;
        for (let number = 1; number <= files; ++number) {
            count.textContent = `Loading ${number} of ${files} …`;
            missing += await loadScript(`search/${number}.js`) ? 0 : 1;
        }
        // The newest first; those of one second in the order of their conversation.
        messages.sort((a, b) => b.seconds - a.seconds || b.place - a.place);
        return missing;
    }

    function patternFor(text) {
        return new RegExp(text.replace(/[\\^$.*+?()[\]{}|/]/g, '\\$&'), 'iu');
    }

    // Begins and ends between characters, also those that take two places.
    function slice(text, from, to) {
        const isSecondHalf = (at) => /[\uDC00-\uDFFF]/.test(text.charAt(at)) && at > 0;
        return text.slice(isSecondHalf(from) ? from - 1 : from, isSecondHalf(to) ? to + 1 : to);
    }

    function part(name, className, text) {
        const made = document.createElement(name);
        if (className !== '') {
            made.className = className;
        }
        made.textContent = text;
        return made;
    }

    function snippetOf(text) {
        const snippet = part('span', 'snippet', '');
        snippet.dir = 'auto';
        const found = pattern.exec(text);
        const end = found.index + found[0].length;
        const from = Math.max(found.index - contextLength, 0);
        const to = Math.min(end + contextLength, text.length);
        snippet.append((from > 0 ? '…' : '') + slice(text, from, found.index),
            part('mark', '', slice(text, found.index, end)),
            slice(text, end, to) + (to < text.length ? '…' : ''));
        return snippet;
    }

    function hitItem(message) {
        const [title, target, folder] = conversations[message.conversation];
        const link = document.createElement('a');
        link.href = new URL(`${folder}/${message.page}.html#m${message.row}`, root).href;
        const where = part('span', 'where', '');
        where.append(part('bdi', '', title), ` · ${message.date}`);
        where.title = target;
        const who = part('span', 'who', '');
        who.append(part('bdi', '', message.sender));
        link.append(where, who, snippetOf(message.text));
        const item = document.createElement('li');
        item.append(link);
        return item;
    }

    function showMore() {
        const first = shown;
        for (const message of hits.slice(shown, shown + hitsAtOnce)) {
            list.append(hitItem(message));
        }
        shown = list.children.length;
        more.hidden = shown >= hits.length;
        return list.children[first];
    }

    function showCount(missing) {
        const number = hits.length === 1 ? '1 message found' : `${hits.length} messages found`;
        const part = hits.length > shown ? `, the newest ${shown} are shown` : '';
        const lost = missing > 0 ? `; ${missing} of the search files could not be loaded` : '';
        count.textContent = number + part + lost;
    }

    function showResults(open) {
        results.hidden = !open;
        close.hidden = !open;
        main.hidden = open;
        area.classList.toggle('open', open);
    }

    let typing = 0;  // the timer that searches when nothing more is typed

    async function search() {
        clearTimeout(typing);  // it would show the first hits alone again
        const asked = box.value.trim();
        if (asked === '') {
            closeSearch();
            return;
        }
        loading = loading || loadAll();
        const missing = await loading;
        if (asked !== box.value.trim()) {
            return;  // typed on meanwhile, which has its own search
        }
        pattern = patternFor(asked);
        hits = messages.filter((message) => pattern.test(message.text));
        list.replaceChildren();
        shown = 0;
        showMore();
        showCount(missing);
        showResults(true);
    }

    function closeSearch() {
        box.value = '';
        count.textContent = '';
        list.replaceChildren();
        showResults(false);
    }

    function moveAmongHits(event) {
        const links = [box, ...list.querySelectorAll('a')];
        const at = links.indexOf(document.activeElement);
        const next = links[at + (event.key === 'ArrowDown' ? 1 : -1)];
        if (at >= 0 && next && !results.hidden) {
            event.preventDefault();
            next.focus();
        }
    }

    box.addEventListener('input', () => {
        clearTimeout(typing);
        typing = setTimeout(search, 150);
    });
    element('search').addEventListener('submit', (event) => {
        event.preventDefault();
        search();
    });
    close.addEventListener('click', () => {
        closeSearch();
        box.focus();
    });
    more.addEventListener('click', () => {
        const firstNew = showMore();
        showCount(0);
        firstNew.querySelector('a').focus();
    });
    // A hit on this very page is only jumped to.
    list.addEventListener('click', (event) => {
        const link = event.target.closest('a');
        if (link && link.pathname === location.pathname && !(event.ctrlKey || event.metaKey || event.shiftKey)) {
            closeSearch();
        }
    });
    document.addEventListener('keydown', (event) => {
        const isTyping = document.activeElement === box;
        if (event.key === '/' && !isTyping && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            box.focus();
        } else if (event.key === 'Escape' && (isTyping || !results.hidden)) {
            event.preventDefault();
            closeSearch();
            box.focus();
        } else if (event.key === 'ArrowDown' || event.key === 'ArrowUp') {
            moveAmongHits(event);
        }
    });
    area.hidden = false;
})();
