// SPDX-License-Identifier: Apache-2.0

const kSuccess = 0;
const kBadDescriptor = 8;
const kStandardError = 2;

/**
 * What the C library of the engine asks of its system: clocks, random bytes, a place for last words.
 * @internal
 */
export class Wasi {
  /** The last words, before a trap. */
  said = '';
  #memory: WebAssembly.Memory | undefined;

  /** Fills bytes with random ones, at most 64 KiB at a time. */
  constructor(readonly fill: (bytes: Uint8Array<ArrayBuffer>) => void) {}

  /** The functions to instantiate the module with. Whatever else it imports is not there. */
  readonly imports = {
    clock_time_get: (_clock: number, _precision: bigint, at: number): number => {
      this.#view.setBigUint64(at, BigInt(Math.round(Date.now() * 1e6)), true);
      return kSuccess;
    },
    random_get: (at: number, size: number): number => {
      for (let done = 0; done < size; done += 0x10000) {
        const part = new Uint8Array(Math.min(size - done, 0x10000));
        this.fill(part);
        this.#bytes(at + done, part.length).set(part);
      }
      return kSuccess;
    },
    fd_write: (descriptor: number, vectors: number, count: number, writtenAt: number): number => {
      if (descriptor !== kStandardError) return kBadDescriptor;
      let written = 0;
      for (let i = 0; i < count; ++i) {
        const at = this.#view.getUint32(vectors + 8 * i, true);
        const size = this.#view.getUint32(vectors + 8 * i + 4, true);
        this.said += new TextDecoder().decode(this.#bytes(at, size));
        written += size;
      }
      this.#view.setUint32(writtenAt, written, true);
      return kSuccess;
    },
    // There is no environment.
    environ_sizes_get: (countAt: number, sizeAt: number): number => {
      this.#view.setUint32(countAt, 0, true);
      this.#view.setUint32(sizeAt, 0, true);
      return kSuccess;
    },
    environ_get: (): number => kSuccess,
    fd_close: (): number => kBadDescriptor,
    fd_seek: (): number => kBadDescriptor,
    proc_exit: (status: number): never => {
      throw new Error(`exit with status ${status}`);
    },
  };

  attach(memory: WebAssembly.Memory): void {
    this.#memory = memory;
  }

  #bytes(at: number, size: number): Uint8Array {
    return new Uint8Array(this.#view.buffer, at >>> 0, size);
  }

  get #view(): DataView {
    if (!this.#memory) throw new Error('the module has no memory yet');
    return new DataView(this.#memory.buffer);
  }
}
