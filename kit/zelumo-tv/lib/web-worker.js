// SPDX-License-Identifier: Apache-2.0
// Asks for what another thread waits for.
import { Agent, get } from "node:http";
import { workerData } from "node:worker_threads";

const { port, signal } = workerData;
const agent = new Agent({ keepAlive: true });

function answer(message) {
  port.postMessage(message);
  Atomics.store(signal, 0, 1);
  Atomics.notify(signal, 0);
}

function ask(url, again) {
  const sent = get(url, { agent }, (response) => {
    let text = "";
    response.setEncoding("utf8");
    response.on("data", (data) => (text += data));
    response.on("end", () => answer({ text }));
  });
  sent.on("error", (error) => {
    if (again && sent.reusedSocket && error.code === "ECONNRESET") ask(url, false);
    else answer({ error: error.message });
  });
}

port.on("message", (url) => ask(url, true));
