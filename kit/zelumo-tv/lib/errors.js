// SPDX-License-Identifier: Apache-2.0
/** A command that the TV answered with an error. */
export class ZelumoError extends Error {
  constructor(command, { code, errorName, errorMessage, data }) {
    super(`${command}: ${errorMessage || errorName || `code ${code}`}`);
    this.name = "ZelumoError";
    Object.assign(this, { command, code, errorName, errorMessage, data });
  }
}

/** What the TV doesn't do. */
export class TvError extends Error {
  name = "TvError";
}
