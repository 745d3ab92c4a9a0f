// The lines of programs/Protocol.h, for peers in JavaScript.

import { execFileSync } from "node:child_process";
import { createInterface } from "node:readline";

// The whole program: SCRIPT NAME DIRECTORY. `peers` makes a peer by its name; a peer has run(),
// which gives how many operations that was, and may have prepare(), which is not measured.
export async function play(peers) {
  const [name, directory] = process.argv.slice(2);
  const peer = await peers[name](directory);
  for await (const line of createInterface({ input: process.stdin })) {
    const answer = line === "round" ? await measure(peer) : (await peer.prepare?.(), {});
    process.stdout.write(JSON.stringify(answer) + "\n");
  }
}

async function measure(peer) {
  const cpuBefore = process.cpuUsage();
  const start = process.hrtime.bigint();
  const operations = await peer.run();
  const seconds = Number(process.hrtime.bigint() - start) / 1e9;
  const cpu = process.cpuUsage(cpuBefore);
  return {
    operations,
    seconds: seconds / operations,
    cpu: (cpu.user + cpu.system) / 1e6 / operations,
  };
}

// What one side leaves to be written later must not be at the cost of the next.
export function settle(directory) {
  execFileSync("sync", ["--file-system", directory]);
}
