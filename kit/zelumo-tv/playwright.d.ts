// SPDX-License-Identifier: Apache-2.0
import type {
  Expect, MatcherReturnType, PlaywrightTestArgs, PlaywrightTestOptions, PlaywrightWorkerArgs, PlaywrightWorkerOptions, TestType,
} from "@playwright/test";
import type { StartOptions, Tv } from "./index.js";
import type { ZelumoCommand } from "./types.js";

export interface DevServerOptions {
  /** What starts it, in the project's folder; without it the server has to run already. */
  command?: string;
  /** Where it serves. */
  url: string;
  /** How long it may take to start, in milliseconds; 60000 by default. */
  timeout?: number;
}

/** Paths are those of the folder of playwright.config. */
export interface TvOptions extends StartOptions {
  /** A dev server, which is started once for all workers, unless it runs already. Its address is the baseURL. */
  devServer?: DevServerOptions;
}

export interface TvFixtures {
  tvOptions: TvOptions;
  /** "worker" keeps one TV for all tests of a worker; what a test made fail works again in the next. */
  tvScope: "test" | "worker";
  tv: Tv;
}

export const test: TestType<
  PlaywrightTestArgs & PlaywrightTestOptions & TvFixtures,
  PlaywrightWorkerArgs & PlaywrightWorkerOptions
>;

export interface RetryOptions {
  /** In milliseconds; by default that of `expect`. */
  timeout?: number;
}
export interface CountOptions extends RetryOptions {
  /** Exactly so many times; by default at least once. */
  times?: number;
}

interface Expectations {
  /** The page has sent that command; parameters as for toMatchObject. */
  toHaveSent(tv: Tv, command: ZelumoCommand, parameters?: Record<string, unknown>, options?: CountOptions): Promise<MatcherReturnType>;
  /** The plug-in has made that platform call; null among `args` stands for any. */
  toHaveCalled(tv: Tv, call: string, options?: CountOptions & { args?: readonly unknown[] }): Promise<MatcherReturnType>;
  /** The page was posted that message: its name, or a player report's name or number. */
  toHavePosted(tv: Tv, nameOrType: string | number, data?: unknown, options?: CountOptions): Promise<MatcherReturnType>;
  /** That channel is shown. */
  toBeTunedTo(tv: Tv, serviceIdOrName: string | number, options?: RetryOptions): Promise<MatcherReturnType>;
  /** The player made last plays (that address). */
  toBePlaying(tv: Tv, url?: string | RegExp, options?: RetryOptions): Promise<MatcherReturnType>;
  /** The settings store holds it. */
  toHaveSetting(tv: Tv, key: string, value: unknown, options?: RetryOptions): Promise<MatcherReturnType>;
}

export const expect: Expect<{ [K in keyof Expectations]: Expectations[K] }>;
