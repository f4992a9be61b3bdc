// Accounts made with the tool itself, and their exports.
import {execFileSync} from 'node:child_process';
import {mkdirSync, mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {dirname, join} from 'node:path';
import {pathToFileURL} from 'node:url';

const tool = process.env.PELKO_TOOL;
if (!tool) {
    throw new Error('PELKO_TOOL must name the built tool; script/browser does so');
}
export const sources = process.env.PELKO_SOURCES;

export class Account {
    constructor(user = 'me') {
        this.user = user;
        this.folder = mkdtempSync(join(tmpdir(), 'pelko-browser-'));
        this.data = join(this.folder, 'data');
    }

    get database() {
        return join(this.data, 'users', this.user, 'db.dat');
    }

    run(...args) {
        return execFileSync(tool, ['--data-dir', this.data, ...args],
            {env: {...process.env, TZ: 'UTC'}, encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe']});
    }

    // What the tool has no command for, or refuses.
    sql(statements) {
        execFileSync('sqlite3', ['-bail', this.database], {input: `BEGIN;\n${statements}\nCOMMIT;\n`});
    }

    // A message of any kind, by the names of the columns; numbers, texts and Buffers.
    message(columns) {
        const all = {msg_id: 0, type: 0, date: 0, text: '', media_type: 0, media_path: '', ex_media_path: '',
            media_url: '', media_status: 0, duration: 0, receiver_type: 0, receiver_id: 'me', sender_type: 0,
            sender_id: 'me', status: 2, extra_path: '', ...columns};
        return insertion('tbl_msg', all);
    }

    // A file below the data folder. Returns its path as messages keep it.
    file(path, content) {
        const place = join(this.data, path);
        mkdirSync(dirname(place), {recursive: true});
        writeFileSync(place, content);
        return path;
    }

    // Returns the folder.
    export(name, ...options) {
        const out = join(this.folder, name);
        this.run('--user', this.user, 'export', out, '--format', 'html', ...options);
        return out;
    }

    remove() {
        rmSync(this.folder, {recursive: true, force: true});
    }
}

export function literal(value) {
    if (typeof value === 'number') {
        return String(value);
    }
    return `CAST(X'${Buffer.from(value).toString('hex')}' AS TEXT)`;
}

export function insertion(table, columns) {
    return `INSERT INTO ${table} (${Object.keys(columns).join(', ')}) VALUES `
        + `(${Object.values(columns).map(literal).join(', ')});\n`;
}

export function urlOf(...path) {
    return pathToFileURL(join(...path)).href;
}

export function secondsAt(time) {
    return Date.parse(`${time}:00Z`) / 1000;
}
