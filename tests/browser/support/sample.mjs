// A small account to look at: the sample logs, and a conversation with a picture, a sound and what can go wrong.
import {join} from 'node:path';
import {Account, insertion, secondsAt, sources} from './account.mjs';
import {picture, sound} from './files.mjs';

export function sampleAccount() {
    const account = new Account();
    account.run('replay', join(sources, 'examples/sample-log'));
    account.run('receive', 'user:alice', 'Are you coming on Sunday?');
    account.run('users', 'add', 'alice', '--nickname', 'Alice Springer');
    account.run('pin', 'user:alice');
    account.sql(`DELETE FROM tbl_msg WHERE receiver_id = 'me';
        UPDATE tbl_msg SET status = 2 WHERE receiver_id = (SELECT room_id FROM tbl_room WHERE name = 'garden');
        ${messages(account)}`);
    return account;
}

function messages(account) {
    const photo = account.file('users/me/image/hills.png', picture());
    const memo = account.file('users/me/audio/memo.wav', sound());
    const list = account.file('users/me/files/packing list.txt', 'boots\n');
    const fromAlice = {sender_id: 'alice'};
    const toAlice = {receiver_id: 'alice', status: 4};
    return [
        {...fromAlice, date: '2024-03-09T18:30', text: 'Are you coming on Sunday?'},
        {...toAlice, date: '2024-03-09T18:41', text: 'Yes! Which train?'},
        {...fromAlice, date: '2024-03-09T18:42',
            text: 'The 8:12, see https://example.org/trains?day=sunday&n=812.\nIt runs every hour after that.'},
        {...toAlice, date: '2024-03-10T07:58', text: '/me is running late'},
        {...fromAlice, date: '2024-03-10T08:03', type: 1, media_type: 1, media_status: 2,
            media_path: photo, text: 'This is where we are going'},
        {...fromAlice, date: '2024-03-10T08:04', type: 2, media_type: 2, media_status: 2, duration: 2,
            media_path: memo},
        {...fromAlice, date: '2024-03-10T08:05', type: 3, media_type: 3, media_status: 2, media_path: list},
        {...fromAlice, date: '2024-03-10T08:06', type: 1, media_type: 1, media_status: 3,
            media_path: 'users/me/image/lost.jpg', media_url: 'https://example.org/lost.jpg'},
        {...toAlice, date: '2024-03-10T08:07', text: 'Beautiful. I am on the train now',
            extra_path: 'sent from the train'},
        {...toAlice, date: '2024-03-10T08:07', text: 'See you at ten', status: 5},
        {...fromAlice, date: '2024-03-10T08:15', text: 'Great, I bring the sandwiches', status: 1},
    ].map((message) => account.message({...message, date: secondsAt(message.date)})).join('');
}

// A room with a long word, and one with more messages than are shown at once, in more than one search file.
export function addLargeRooms(account) {
    account.sql(insertion('tbl_room', {room_id: 7000, name: 'Large room', info: 'Numbers,\nnothing else'})
        + account.message({date: secondsAt('2024-04-01T10:00'), receiver_type: 1, receiver_id: '7001',
            sender_id: 'w'.repeat(300), text: `${'x'.repeat(2000)} http://example.org/${'y'.repeat(500)}`})
        + `WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2600)
           INSERT INTO tbl_msg (msg_id, type, date, text, receiver_type, receiver_id, sender_type, sender_id, status)
           SELECT 0, 0, ${secondsAt('2024-05-01T00:00')} + i * 60, printf('number %d of many ', i)
               || replace(hex(zeroblob(150)), '00', 'ab'), 1, '7000', 0, 'counter', 2 FROM n;`);
}
