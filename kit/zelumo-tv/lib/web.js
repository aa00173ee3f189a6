// SPDX-License-Identifier: Apache-2.0
// Speaks to a host: requests, and the WebSocket of its journal.
import { randomBytes } from "node:crypto";
import { Agent, request as httpRequest } from "node:http";
import { MessageChannel, Worker, receiveMessageOnPort } from "node:worker_threads";

const SYNC_TIMEOUT_MS = 10_000;
const agent = new Agent({ keepAlive: true });

/** A request; gives the status and what was answered, read as JSON where there is any. */
export function request(url, method, path, body) {
  const attempt = (resolve, reject, again) => {
    const sent = httpRequest(url + path, { method, agent }, (response) => {
      let text = "";
      response.setEncoding("utf8");
      response.on("data", (data) => (text += data));
      response.on("error", reject);
      response.on("end", () => {
        try {
          resolve({ status: response.statusCode, json: text && JSON.parse(text) });
        } catch (error) {
          reject(error);
        }
      });
    });
    sent.on("error", (error) => {
      // The host has closed a connection just as it was taken up again.
      if (again && sent.reusedSocket && error.code === "ECONNRESET") attempt(resolve, reject, false);
      else reject(error);
    });
    sent.end(body === undefined ? undefined : JSON.stringify(body));
  };
  return new Promise((resolve, reject) => attempt(resolve, reject, true));
}

/** Connects the WebSocket of that path; `onText` gets each text. Keeps no process alive. Gives what closes it. */
export function listen(url, path, onText) {
  return new Promise((resolve, reject) => {
    const upgrade = httpRequest(url + path, {
      agent: false,
      headers: {
        Connection: "Upgrade",
        Upgrade: "websocket",
        "Sec-WebSocket-Version": "13",
        "Sec-WebSocket-Key": randomBytes(16).toString("base64"),
      },
    });
    upgrade.on("error", reject);
    upgrade.on("response", (response) => reject(new Error(`${path}: ${response.statusCode}`)));
    upgrade.on("upgrade", (response, socket, head) => {
      socket.unref();
      socket.on("error", () => {});
      const read = frames(onText, (data) => socket.write(control(10, data)));
      socket.on("data", read);
      if (head.length) read(head);
      resolve(() => socket.destroy());
    });
    upgrade.end();
  });
}

// A control frame of a client, which is masked: with zeros, as nothing on this machine needs it otherwise.
const control = (opcode, data) => Buffer.concat([Buffer.from([0x80 | opcode, 0x80 | data.length, 0, 0, 0, 0]), data]);

// Reads a server's frames from what comes in pieces.
function frames(onText, onPing) {
  let chunks = [];
  let length = 0;
  let needed = 2;
  let message = [];
  return (chunk) => {
    chunks.push(chunk);
    length += chunk.length;
    if (length < needed) return;
    let data = chunks.length === 1 ? chunk : Buffer.concat(chunks);
    for (;;) {
      const frame = parse(data);
      needed = frame.needed;
      if (data.length < needed) break;
      const { final, opcode, payload } = frame;
      data = data.subarray(needed);
      if (opcode === 9) onPing(payload);
      if (opcode > 2) continue;
      message.push(payload);
      if (!final) continue;
      onText(Buffer.concat(message).toString());
      message = [];
    }
    chunks = [data];
    length = data.length;
  };
}

function parse(data) {
  if (data.length < 2) return { needed: 2 };
  const short = data[1] & 0x7f;
  const header = short === 126 ? 4 : short === 127 ? 10 : 2;
  if (data.length < header) return { needed: header };
  const size = short === 126 ? data.readUInt16BE(2) : short === 127 ? Number(data.readBigUInt64BE(2)) : short;
  const needed = header + size;
  return { needed, final: data[0] >= 0x80, opcode: data[0] & 0xf, payload: data.subarray(header, needed) };
}

let helper;

/** The text of a GET, for which this thread stands still: another one asks. */
export function getNow(url) {
  if (!helper) {
    const { port1, port2 } = new MessageChannel();
    const signal = new Int32Array(new SharedArrayBuffer(4));
    const worker = new Worker(new URL("./web-worker.js", import.meta.url), {
      workerData: { port: port2, signal },
      transferList: [port2],
      execArgv: [],
      env: {},
    });
    worker.unref();
    port1.unref();
    helper = { port: port1, signal };
  }
  const { port, signal } = helper;
  Atomics.store(signal, 0, 0);
  port.postMessage(url);
  if (Atomics.wait(signal, 0, 0, SYNC_TIMEOUT_MS) === "timed-out") {
    helper = undefined;
    throw new Error(`the TV host at ${url} doesn't answer`);
  }
  const { text, error } = receiveMessageOnPort(port).message;
  if (error) throw new Error(error);
  return text;
}
