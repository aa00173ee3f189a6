// SPDX-License-Identifier: Apache-2.0
// Plays in the browser the streams that the page's commands ask for: the TV host has accepted the commands, and hears
// how the streams stand and what has become of them. docs/player.md says how a player behaves.
import { Notices } from "./notices.js";
import { Player } from "./player.js";
import { ERROR } from "./reports.js";
import { Sound } from "./sound.js";
import { Stage } from "./stage.js";
import { Trouble } from "./trouble.js";

export class Media {
  #tell;
  #players = new Map(); // by their ids
  #newest = null; // the player that was created last
  #stage = new Stage();
  #notices = new Notices((id) => {
    const rect = this.#players.get(id)?.rect;
    return rect ? this.#stage.areaOf(rect) : null;
  });
  #sound = new Sound(this.#notices);

  /** tell(line) sends one object to the TV host. */
  constructor({ tell }) {
    this.#tell = tell;
  }

  /** Carries out one command; they come in order. Never throws: what goes wrong is the end of that player. */
  do(command) {
    try {
      this.#carryOut(command);
    } catch (error) {
      console.error("zelumo-media:", error, command);
      this.#players.get(command?.player)?.fail(new Trouble(ERROR, `${command?.do}: ${error}`));
    }
  }

  /** Every player goes. Nothing is told of them any more. */
  releaseAll() {
    for (const player of this.#players.values()) player.release();
    this.#players.clear();
    this.#newest = null;
    this.#notices.clear();
  }

  #carryOut(command) {
    const id = command.player;
    const player = this.#players.get(id);
    if (command.do === "create") {
      player?.release();
      this.#create(command);
    } else if (command.do === "release") {
      player?.release();
      this.#players.delete(id);
      if (this.#newest === player) this.#newest = null;
    } else {
      player?.do(command);
    }
  }

  #create(command) {
    const player = new Player(command, {
      tell: (line) => this.#tell(line),
      stage: this.#stage,
      notices: this.#notices,
      sound: this.#sound,
      begins: () => this.#begins(player),
    });
    // Only the newest is kept loaded ahead of its "play".
    this.#newest?.letGo();
    this.#newest = player;
    this.#players.set(command.player, player);
    player.load();
  }

  // A stream begins: the last picture of those that have ended gives way, and so does what was said of failures.
  #begins(beginner) {
    for (const player of this.#players.values()) if (player !== beginner) player.giveWay();
    this.#notices.clearFailures();
  }
}
