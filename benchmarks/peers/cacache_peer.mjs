// What cacache does instead.

import { existsSync, mkdirSync, writeFileSync } from "node:fs";
import { readFile } from "node:fs/promises";
import { createRequire } from "node:module";
import { setTimeout } from "node:timers/promises";
import { play, settle } from "./protocol.mjs";

// Debian's packages are found by require() only.
const cacache = createRequire(import.meta.url)("cacache");

// Removes one half of the entries with their content, many at once: it has no order of its own, nor
// a limit to keep to.
class Evict {
  static entries = 10_000;
  static atOnce = 100;

  constructor(directory) {
    this.cache = directory + "/cache";
    this.integrities = new Map();
  }

  async prepare() {
    for (let i = 0; i < Evict.entries; ++i) {
      if (!this.integrities.has(i))
        this.integrities.set(i, await cacache.put(this.cache, `${i}`, this.valueOf(i)));
    }
    settle(this.cache);
  }

  valueOf(i) {
    return Buffer.alloc(4096, `${i} `);
  }

  async run() {
    const oldest = [...this.integrities.keys()].slice(0, Evict.entries / 2);
    while (oldest.length > 0) {
      const some = oldest.splice(0, Evict.atOnce);
      await Promise.all(some.map((i) => this.remove(i)));
    }
    return 1;
  }

  async remove(i) {
    await cacache.rm.content(this.cache, this.integrities.get(i));
    await cacache.rm.entry(this.cache, `${i}`, { removeFully: true });
    this.integrities.delete(i);
  }
}

// Looks up the entry of one resource after the other, as one of several processes or alone.
class Info {
  static entries = 500;
  static millisecondsTogether = 500;

  static async make(directory, runs) {
    const peer = new Info();
    peer.cache = directory + "/cache";
    peer.run = runs;
    await peer.fill(directory);
    return peer;
  }

  // Once, by the first of the processes.
  async fill(directory) {
    const done = directory + "/filled";
    try {
      mkdirSync(directory + "/filling");
    } catch {
      while (!existsSync(done)) await setTimeout(10);
      return;
    }
    for (let i = 0; i < Info.entries; ++i)
      await cacache.put(this.cache, Info.key(i), `content ${i}`);
    writeFileSync(done, "");
  }

  static key(i) {
    return `share:/data/runs/sample-${i % Info.entries}.raw`;
  }

  async alone() {
    for (let i = 0; i < Info.entries; ++i) await cacache.get.info(this.cache, Info.key(i));
    return Info.entries;
  }

  async together() {
    const end = Date.now() + Info.millisecondsTogether;
    let done = 0;
    while (Date.now() < end) await cacache.get.info(this.cache, Info.key(done++));
    return done;
  }
}

// Puts files into the cache, as many at once as we have tasks. It does not wait for the disk.
class Put {
  static files = 1000;
  static atOnce = 6;

  constructor(directory) {
    this.directory = directory;
    this.round = 0;
  }

  prepare() {
    this.source = `${this.directory}/source-${this.round++}`;
    mkdirSync(this.source);
    for (let i = 0; i < Put.files; ++i)
      writeFileSync(`${this.source}/${i}.raw`, Buffer.alloc(4096, `${this.round} ${i} `));
    settle(this.directory);
  }

  async run() {
    let next = 0;
    const worker = async () => {
      for (let i = next++; i < Put.files; i = next++) await this.put(`${this.source}/${i}.raw`);
    };
    await Promise.all(Array.from({ length: Put.atOnce }, worker));
    return Put.files;
  }

  async put(path) {
    await cacache.put(this.directory + "/cache", `share:${path}`, await readFile(path));
  }
}

await play({
  put: (directory) => new Put(directory),
  evict: (directory) => new Evict(directory),
  info: (directory) => Info.make(directory, Info.prototype.alone),
  infoTogether: (directory) => Info.make(directory, Info.prototype.together),
});
