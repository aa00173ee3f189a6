// SPDX-License-Identifier: Apache-2.0
// A stream that shaka-player plays: DASH, or any with rights.
import { loadShaka } from "./library.js";
import { checkKeySystem } from "./rights.js";
import { Source } from "./source.js";
import { Trouble, shakaTrouble } from "./trouble.js";

// A live stream may be without its newest segments for so long; then it has failed.
const PATIENCE_MS = 8000;
const RETRY_S = 0.5;

// What fails at once is asked for three times in about a second. What is slow is waited for.
const RETRY = { maxAttempts: 3, baseDelay: 300, backoffFactor: 2, fuzzFactor: 0.3, stallTimeout: 8000, connectionTimeout: 8000 };

const CONFIGURATION = {
  streaming: {
    rebufferingGoal: 0, // as soon as the element can play
    bufferingGoal: 12,
    bufferBehind: 30,
    durationBackoff: 0, // the very end can be gone to
    safeSeekOffset: 1,
    processSrcEqualMetadata: false,
    retryParameters: RETRY,
  },
  manifest: { retryParameters: { ...RETRY, maxAttempts: 2 } },
  drm: { retryParameters: { ...RETRY, maxAttempts: 2 } },
};

export const DASH = "application/dash+xml";

const CLEAR_KEY = { keySystem: "org.w3.clearkey", schemeIdUri: "urn:uuid:e2719d58-a985-b3c9-781a-b030af78d30e" };

// Names clear keys wherever a manifest says that something is protected: what names no key system could be opened by any
// of them, but shaka-player leaves this one out.
function nameClearKey(node) {
  const children = node.children?.filter((child) => child.tagName) ?? [];
  const protection = children.find(({ tagName }) => tagName === "ContentProtection");
  if (protection) node.children.push({ ...protection, attributes: { ...protection.attributes, schemeIdUri: CLEAR_KEY.schemeIdUri }, children: [] });
  for (const child of children) if (child !== protection) nameClearKey(child);
}

export class DashSource extends Source {
  #shaka = null;
  #player = null;
  #rights;
  #type;
  #manifest = null; // the manifest as it came, until the stream is loaded
  #failingSince = null; // of a live stream
  #failLoad = null;

  /** `type` is DASH or a file's MIME type, `rights` what readRights gives. */
  constructor(id, url, { type, rights, ...listeners }) {
    super(id, url, listeners);
    this.#type = type;
    this.#rights = rights;
  }

  /** As a FileSource's; the manifest takes the place of the metadata. */
  async load(where) {
    try {
      if (this.#rights) await checkKeySystem(this.#rights, this.url);
      this.#shaka = await loadShaka();
      if (!this.isOpen) return;
      const player = (this.#player = new this.#shaka.Player());
      this.#configure(player);
      this.listen(player, "error", (event) => this.#onError(event));
      this.listen(player, "canupdatestarttime", () => {
        this.live = player.isLive();
        const begin = where(this.range(), this.live);
        if (begin !== null) player.updateStartTime(begin);
      });
      await player.attach(this.video);
      if (!this.isOpen) return;
      // Some errors are only told, and load() goes on.
      const failed = new Promise((_, reject) => (this.#failLoad = reject));
      await Promise.race([player.load(this.url, null, this.#type), failed]);
      this.loaded = true;
      this.#manifest = null;
    } catch (error) {
      throw error instanceof Trouble || !this.#shaka ? error : await this.#explain(error);
    }
  }

  #configure(player) {
    const { RequestType } = this.#shaka.net.NetworkingEngine;
    player.configure(CONFIGURATION);
    const network = player.getNetworkingEngine();
    network.registerResponseFilter((type, response) => {
      if (type === RequestType.MANIFEST && !this.loaded) this.#manifest = response.data;
    });
    if (!this.#rights) return;
    const { keySystem, server, clearKeys, headers } = this.#rights;
    player.configure({ drm: { servers: server ? { [keySystem]: server } : {}, clearKeys } });
    if (server && keySystem === CLEAR_KEY.keySystem) player.configure({ manifest: { dash: { manifestPreprocessorTXml: nameClearKey } } });
    network.registerRequestFilter((type, request) => {
      if (type === RequestType.LICENSE) Object.assign(request.headers, headers);
    });
  }

  #explain(error) {
    const manifest = this.#manifest && new TextDecoder().decode(this.#manifest);
    return shakaTrouble(error, { shaka: this.#shaka, url: this.url, isFile: this.#type !== DASH, manifest, rights: this.#rights });
  }

  #onError(event) {
    const error = event.detail;
    const { Severity, Category } = this.#shaka.util.Error;
    if (error.severity !== Severity.CRITICAL) return;
    if (!this.loaded) return this.#failLoad?.(error);
    if (this.live && error.category === Category.NETWORK) {
      if (this.#failingSince === null) {
        this.#failingSince = performance.now();
        this.#player.addEventListener("segmentappended", () => (this.#failingSince = null), { once: true });
      }
      if (performance.now() - this.#failingSince < PATIENCE_MS) {
        event.preventDefault();
        this.#player.retryStreaming(RETRY_S);
        return;
      }
    }
    this.trouble(this.#explain(error));
  }

  range() {
    const { duration } = this.video;
    const range = this.#player.seekRange();
    const isWhole = !this.live && !this.#player.isInProgress() && Number.isFinite(duration);
    return isWhole ? { start: Math.min(range.start, duration), end: duration } : range;
  }

  get duration() {
    return this.range().end;
  }

  buffers() {
    const { audio, video, total } = this.#player.getBufferedInfo();
    const own = [audio, video].filter((ranges) => ranges.length);
    const kinds = this.#player.getVariantTracks().find((track) => track.active);
    // A kind of which nothing is there yet counts, too.
    const missing = kinds ? Number(Boolean(kinds.audioCodec)) + Number(Boolean(kinds.videoCodec)) - own.length : 0;
    return own.length ? [...own, ...Array(Math.max(0, missing)).fill([])] : [total];
  }

  empty() {
    this.#manifest = null;
    // It frees the element, and what it has asked for is aborted.
    this.#player?.destroy().catch((error) => console.warn("zelumo-media:", error));
  }
}
