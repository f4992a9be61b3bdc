// An account whose every text is one of payloads.json, and its twin of the same shape with harmless texts.
import {readFileSync} from 'node:fs';
import {Account, insertion} from './account.mjs';

// bytes: what is stored; block and line: what pages show of it, in a block of its own and in a line with others
export const payloads = JSON.parse(readFileSync(new URL('../payloads.json', import.meta.url), 'utf8'))
    .map(({name, text, hex, block, line}) => ({
        name,
        bytes: hex === undefined ? Buffer.from(text) : Buffer.from(hex, 'hex'),
        block: block ?? text,
        line: line ?? text,
    }));

export const harmless = payloads.map((_, i) => {
    const text = `harmless ${i}`;
    return {name: text, bytes: Buffer.from(text), block: text, line: text};
});

export const firstRoom = 1000;
export const firstGroup = 2000;

export function accountOf(texts) {
    const account = new Account();
    account.run('send', 'user:nobody', 'makes the file');
    account.sql(`DELETE FROM tbl_msg; DELETE FROM tbl_session;\n${texts.map((text, i) =>
        messages(account, text.bytes, i)).join('')}`);
    return account;
}

function messages(account, bytes, i) {
    const room = firstRoom + i;
    const group = firstGroup + i;
    // Each conversation has times of its own, so that the order of the index is that of the numbers.
    let date = 1700000000 + i * 1000;
    const everywhere = (columns) => [
        {...columns, text: bytes},
        {...columns, text: 'x', extra_path: bytes},
        {...columns, type: 1, media_type: 1, media_path: bytes, ex_media_path: bytes, media_url: bytes},
        {...columns, type: 2, media_type: 2, media_path: bytes, ex_media_path: bytes, media_url: bytes, text: bytes},
        {...columns, type: 3, media_type: 3, media_path: bytes, ex_media_path: bytes, media_url: bytes, text: bytes},
        {...columns, type: 9, text: bytes, media_url: bytes},
    ].map((message) => account.message({date: ++date, ...message})).join('');
    return insertion('tbl_room', {room_id: room, name: bytes, info: bytes, icon_url: bytes, icon_path: bytes})
        + insertion('tbl_group', {group_id: group, name: bytes, info: bytes, owner: bytes})
        + insertion('tbl_user', {username: bytes, nickname: Buffer.concat([Buffer.from('nick '), bytes]), info: bytes})
        + everywhere({receiver_type: 1, receiver_id: String(room), sender_id: bytes})
        + everywhere({receiver_type: 2, receiver_id: String(group), sender_id: bytes})
        + everywhere({sender_id: bytes});
}
