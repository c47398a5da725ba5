// SPDX-License-Identifier: Apache-2.0

import { Wasi } from '../dist/wasi.js';

/** Runs a program whose standard output is lines of text. Throws unless it exits with 0. */
export async function linesOf(module) {
  const wasi = new Wasi((bytes) => bytes.fill(1));
  const decoder = new TextDecoder();
  let output = '';
  let memory;
  const standardOutput = {
    fd_fdstat_get: () => 8,
    fd_write: (descriptor, vectors, count, writtenAt) => {
      if (descriptor !== 1) return wasi.imports.fd_write(descriptor, vectors, count, writtenAt);
      const view = new DataView(memory.buffer);
      let written = 0;
      for (let i = 0; i < count; ++i) {
        const size = view.getUint32(vectors + 8 * i + 4, true);
        const bytes = new Uint8Array(memory.buffer, view.getUint32(vectors + 8 * i, true), size);
        output += decoder.decode(bytes, { stream: true });
        written += size;
      }
      view.setUint32(writtenAt, written, true);
      return 0;
    },
  };
  const { exports } = await WebAssembly.instantiate(module, {
    wasi_snapshot_preview1: { ...wasi.imports, ...standardOutput },
  });
  memory = exports.memory;
  wasi.attach(memory);
  exports._start();
  if (wasi.said !== '') throw new Error(wasi.said);
  return output.split('\n');
}
