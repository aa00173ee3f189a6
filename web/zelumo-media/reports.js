// SPDX-License-Identifier: Apache-2.0
// The types of reports that a player makes.
export const READY = 32;
export const PAUSED = 33;
export const RESUMED = 34;
export const SEEK_DONE = 35; // position, duration
export const STOPPED = 36;
export const OUTSIDE = 37; // of the stream: where a seek should have led to
export const ENDED = 97;
export const ERROR = 98;
export const BUFFERING = 131; // percent
export const NOT_FOUND = 134;
export const POSITION = 137; // position, duration
export const BEGINS = 144;
