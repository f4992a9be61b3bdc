// A picture and a sound, made here so that no file of a kind that nobody can read lies among the sources.
import {deflateSync} from 'node:zlib';

function crc32(bytes) {
    let crc = ~0;
    for (const byte of bytes) {
        crc ^= byte;
        for (let bit = 0; bit < 8; ++bit) {
            crc = (crc >>> 1) ^ (0xEDB88320 & -(crc & 1));
        }
    }
    return ~crc >>> 0;
}

function chunk(type, content) {
    const body = Buffer.concat([Buffer.from(type), content]);
    const frame = Buffer.alloc(8);
    frame.writeUInt32BE(content.length, 0);
    frame.writeUInt32BE(crc32(body), 4);
    return Buffer.concat([frame.subarray(0, 4), body, frame.subarray(4)]);
}

// Hills under an evening sky, as a PNG.
export function picture(width = 320, height = 200) {
    const lines = [];
    for (let y = 0; y < height; ++y) {
        const line = Buffer.alloc(1 + width * 3);
        for (let x = 0; x < width; ++x) {
            const hill = height * (0.62 + 0.09 * Math.sin(x / 37) + 0.05 * Math.sin(x / 13));
            const sun = Math.hypot(x - width * 0.7, y - height * 0.35) < height * 0.12;
            const sky = [240 - y * 0.5, 170 - y * 0.2, 120 + y * 0.4];
            line.set(y > hill ? [60, 90 + (y - hill) * 0.5, 70] : sun ? [255, 240, 190] : sky, 1 + x * 3);
        }
        lines.push(line);
    }
    const header = Buffer.alloc(13);
    header.writeUInt32BE(width, 0);
    header.writeUInt32BE(height, 4);
    header.set([8, 2, 0, 0, 0], 8);
    return Buffer.concat([Buffer.from([0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A]), chunk('IHDR', header),
        chunk('IDAT', deflateSync(Buffer.concat(lines))), chunk('IEND', Buffer.alloc(0))]);
}

// Two seconds of a tone, as a WAV.
export function sound() {
    const rate = 8000;
    const samples = Buffer.from({length: 2 * rate}, (_, i) => 128 + Math.round(60 * Math.sin(i / 3)));
    const header = Buffer.alloc(44);
    header.write('RIFF', 0);
    header.writeUInt32LE(36 + samples.length, 4);
    header.write('WAVEfmt ', 8);
    header.writeUInt32LE(16, 16);
    header.writeUInt16LE(1, 20);
    header.writeUInt16LE(1, 22);
    header.writeUInt32LE(rate, 24);
    header.writeUInt32LE(rate, 28);
    header.writeUInt16LE(1, 32);
    header.writeUInt16LE(8, 34);
    header.write('data', 36);
    header.writeUInt32LE(samples.length, 40);
    return Buffer.concat([header, samples]);
}
