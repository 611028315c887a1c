// Reads tiles of a PMTiles archive with the package "pmtiles" and compares them with what a list
// has: lines of zoom, column, row, SHA-256 ("-" for a tile that is not there).
//   node compare_pmtiles.mjs ARCHIVE LIST MODULE, the file of the package to be loaded
import { createHash } from "node:crypto";
import { closeSync, openSync, readFileSync, readSync } from "node:fs";

const [archive, list, module] = process.argv.slice(2);
const { PMTiles } = await import(module);

class FileSource {
  constructor(path) {
    this.path = path;
    this.file = openSync(path);
  }
  getKey() {
    return this.path;
  }
  async getBytes(offset, length) {
    const buffer = Buffer.alloc(length);
    const read = readSync(this.file, buffer, 0, length, offset);
    return { data: buffer.buffer.slice(buffer.byteOffset, buffer.byteOffset + read) };
  }
}

const source = new FileSource(archive);
const reader = new PMTiles(source);
let same = 0;
let wrong = 0;
for (const line of readFileSync(list, "utf8").trim().split("\n")) {
  const [zoom, column, row, expected] = line.split(" ");
  const tile = await reader.getZxy(Number(zoom), Number(column), Number(row));
  const found = tile ? createHash("sha256").update(Buffer.from(tile.data)).digest("hex") : "-";
  if (found === expected) {
    same += 1;
  } else {
    wrong += 1;
    console.error(`${zoom}/${column}/${row}: ${found} instead of ${expected}`);
  }
}
closeSync(source.file);
console.log(`${archive}: ${same} tiles the same, ${wrong} others`);
process.exit(wrong === 0 && same > 0 ? 0 : 1);
