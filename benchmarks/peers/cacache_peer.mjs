// What cacache does instead.

import { createRequire } from "node:module";
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

await play({ evict: (directory) => new Evict(directory) });
