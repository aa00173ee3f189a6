// SPDX-License-Identifier: Apache-2.0
// The driver, from node:test, without a browser.
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { TvError, ZelumoError, startTv } from "zelumo-tv";
import { isUp, makeFolder, runs, script, start, until } from "./support.mjs";

// TVs that no test closes end with this process.
const folder = makeFolder();

const GET_VOLUME = ["GetIntegerFromVconfWithKey", { key: "db/menu/volume" }];

test("what fails, answers and is slow, and works again", async () => {
  const tv = await startTv({ settings: { "db/menu/volume": 7 } });
  const volume = () => tv.send(...GET_VOLUME);
  const errorMessage = "Can't GetIntegerFromVconfWithKey";
  const failure = { code: 9999, errorName: "UnknownError ", errorMessage, command: GET_VOLUME[0], message: `${GET_VOLUME[0]}: ${errorMessage}`, name: "ZelumoError" };
  assert.equal(await volume(), 7);
  for (const [what, act, expected] of [
    ["a command", () => tv.fail(GET_VOLUME[0]), [failure, failure]],
    ["a call", () => tv.fail("vconf_get_int"), [failure, failure]],
    ["once", () => tv.fail(GET_VOLUME[0], { times: 1 }), [failure, 7]],
    ["with a result", () => tv.fail("vconf_get_int", { result: -3, times: 1 }), [failure, 7]],
    ["with a code", () => tv.fail(GET_VOLUME[0], { code: -9, times: 1 }), [failure, 7]],
    ["another with a code", () => tv.fail("IServiceNavigation::SetNextService", { code: -9 }), [7]],
    ["with other arguments", () => tv.fail("vconf_get_int", { args: ["other"] }), [7, 7]],
    ["with its arguments", () => tv.fail("vconf_get_int", { args: ["db/menu/volume"] }), [failure, failure]],
    ["an answer", () => tv.answer("vconf_get_int", { result: 0, out: [99], times: 1 }), [99, 7]],
    ["a verb", () => tv.verb(tv.verbs.answer("vconf_get_int", { out: [98], times: 1 })), [98, 7]],
    ["a delay of no time", () => tv.delay(GET_VOLUME[0], 0), [7, 7]],
  ]) {
    await act();
    for (const one of expected) {
      if (typeof one === "number") assert.equal(await volume(), one, what);
      else await assert.rejects(volume(), (error) => error instanceof ZelumoError && Object.keys(one).every((key) => error[key] === one[key]), what);
    }
    await tv.restore(what === "a call" ? undefined : GET_VOLUME[0]);
    assert.equal(await volume(), 7, `${what}, restored`);
  }
  const codes = tv.journal.calls("vconf_get_int").map(({ result }) => result);
  assert.ok(codes.includes(-3) && codes.includes(-9));

  await tv.delay(GET_VOLUME[0], 60_000);
  const slow = volume();
  assert.equal(await Promise.race([slow, tv.state().then(() => "state")]), "state");
  await tv.restore(GET_VOLUME[0]);
  assert.equal(await slow, 7);

  // Of two calls that decide about a command those that have such an argument, and of one that always works the last.
  for (const [act, calls] of [
    [() => tv.fail("SetServiceByServiceid", { args: [null, "1001"] }), ["IServiceNavigation::TuneService", "ISourceControl::TuneService"]],
    [() => tv.fail("SetServiceByServiceid", { args: [null, null, null, 5] }), ["IServiceNavigation::TuneService"]],
    [() => tv.delay("UnRegisterEvent", 5), ["FCEMSProxy::Unsubscribe"]],
  ]) {
    await tv.restore();
    await act();
    assert.deepEqual((await tv.state()).answers.map(({ call }) => call), calls);
  }
  assert.equal(await tv.send("UnRegisterEvent", { event: 90019 }), null);
  await tv.restore("UnRegisterEvent");
  assert.deepEqual((await tv.state()).answers, []);
});

test("a wrong name, option, time or verb is refused with what is close, and changes nothing", async () => {
  const tv = await startTv();
  for (const [act, message] of [
    [() => tv.fail("SetNextServce"), /there is no platform call or command "SetNextServce"; did you mean "SetNextService"\?/],
    [() => tv.fail("BmsPlayy"), /did you mean "BmsPlay"\?/],
    [() => tv.fail("GetVersion"), /no platform call decides whether GetVersion works/],
    [() => tv.fail("BmsPlay", { time: 1 }), /there is no option "time"; did you mean "times"\?/],
    [() => tv.fail("ht_register_library"), /give a result/],
    [() => tv.fail("FIVirtualChannelsAPI::GetProgram", { code: -4 }), /GetProgram has no code to fail with; give a result/],
    [() => tv.fail("BmsPlay", { code: 0 }), /BmsPlay doesn't fail with the code 0: its failures are other than 0/],
    [() => tv.fail("SetNextService", { code: 1 }), /SetNextService doesn't fail with the code 1: its failures are 0 or below/],
    [() => tv.fail("vconf_notify_key_changed", { code: 2 }), /its failures are below 0/],
    [() => tv.fail("BmsPlay", { code: "-1" }), /the code "-1"/],
    [() => tv.fail("BmsPlay", { args: 7 }), /"args" must be a list/],
    [() => tv.fail("Play", { args: [null, 5] }), /no call that decides whether Play works has 2 arguments: BmsPlay/],
    [() => tv.answer("SetNextService"), /there is no platform call "SetNextService"; did you mean "IServiceNavigation::SetNextService"\?/],
    [() => tv.delay("Play"), /delay: give the milliseconds/],
    [() => tv.delay("GetVersion", 1), /GetVersion makes no platform call/],
    [() => tv.fire("ITVS_Signal_Instant_Offf"), /did you mean "ITVS_Signal_Instant_Off"\?/],
    [() => tv.fire(90027, { use: null }), /fire: there is no option "use"; did you mean "user"\?/],
    [() => tv.signal(177, { times: 1 }), /signal: there is no option "times"/],
    [() => tv.powerOff("suspend", { usr: null }), /powerOff: there is no option "usr"/],
    [() => tv.report("EndOfStream", { plaier: 1 }), /report: there is no option "plaier"; did you mean "player"\?/],
    [() => tv.set("k", 1, { forse: true }), /set: there is no option "forse"/],
    [() => tv.report("EndOfStreem", { player: 1 }), /did you mean "EndOfStream"\?/],
    [() => tv.report("EndOfStream"), /there is no player/],
    [() => tv.press("ChannelUpp"), /did you mean "ChannelUp"\?/],
    [() => tv.advance("1:60"), /is no playing time/],
    [() => tv.advance(-1), /is no playing time/],
    [() => tv.date("yesterday"), /is no date/],
    [() => tv.date("file"), /at the start alone/],
    [() => tv.verb({ tv: "signall" }), /there is no verb "signall"; did you mean "signal"\?/],
    [() => tv.waitForCall("BmsPlayy"), /did you mean "BmsPlay"\?/],
    [() => tv.waitForCall("BmsPlay", { args: null }), /"args" must be a list/],
    [() => tv.waitForMessage("EndOfStreem"), /did you mean "EndOfStream"\?/],
    [() => tv.waitForMessage(96), /nothing is posted under the type 96/],
    [() => tv.waitForMessage(null), /null is no filter/],
    [() => tv.send("GetVersion", null), /the parameters must be an object/],
    [() => startTv({ settings: [] }), /"settings" is an object/],
    [() => tv.verb(), /verb: expected \{ tv:/],
    [() => startTv({ record: null }), /"record" is null; leave it out/],
    [() => startTv(null), /startTv: the options must be an object/],
    [() => startTv({ dat: "file" }), /there is no option "dat"; did you mean "date"\?/],
    [() => startTv({ clock: "manual", speed: 2 }), /the speed is 0/],
    [() => startTv({ file: "/no/such/file" }), /zelumo-tv: \/no\/such\/file: No such file or directory/],
    [() => startTv({ file: { channels: [{ id: 7 }] } }), /channels\[0\]\.id: must be/],
    [() => startTv({ port: Number(new URL(tv.url).port) }), /in use/],
  ]) {
    await assert.rejects(act, message, String(act));
  }
  assert.throws(() => tv.journal.calls("BmsPlayy"), /did you mean "BmsPlay"\?/);
  assert.throws(() => tv.journal.messages("GetVersio"), /did you mean "GetVersion"\?/);
  const { answers, scheduled, playingTime } = await tv.state();
  assert.deepEqual({ answers, scheduled, playingTime }, { answers: [], scheduled: [], playingTime: 0 });
});

test("time is in the test's hand", async () => {
  const tv = await startTv({ date: "2026-01-01T20:00:00+01:00" });
  assert.deepEqual([(await tv.state()).time, (await tv.state()).speed], [Date.UTC(2026, 0, 1, 19), 0]);
  await tv.at("00:02.5", tv.verbs.set("k", 1));
  await tv.at("01:00:00", [tv.verbs.set("k", 2), tv.verbs.speed(3)]);
  for (const [time, position, k] of [[2499, 2499, undefined], [1, 2500, 1], ["59:57", 3599500, 1], ["00:00.500", 3600000, 2]]) {
    assert.equal((await tv.advance(time)).position, position);
    assert.equal((await tv.state()).settings.k, k);
  }
  assert.equal((await tv.state()).speed, 3);
  await tv.speed(0);
  await tv.date(new Date(Date.UTC(2030, 5, 1)));
  assert.equal((await tv.state()).time, Date.UTC(2030, 5, 1));

  const scenario = join(folder, "own.jsonl");
  writeFileSync(scenario, '# comment\n\n{"at":"00:10","tv":"setting","key":"k","value":10}\n{"at":5,"tv":"setting","key":"k","value":11}\n');
  await tv.play(scenario);
  await tv.advance(5);
  assert.equal((await tv.state()).settings.k, 11);
  await tv.advance("00:09.995");
  assert.equal((await tv.state()).settings.k, 10);
  const good = '{"at":1,"tv":"restore"}\n';
  for (const [line, mistake] of [
    ['{"at":"00:10"}', /own\.jsonl: line 2: expected/],
    ["null", /line 2: expected/],
    ["[]", /line 2: expected/],
    ['\n{"at":"ten","tv":"restore"}', /line 3: "ten" is no playing time/],
    ['{"at":1,"tv":"restor"}', /line 2: .*did you mean "restore"\?/],
    ['# "restore"\n{"at":1,"tv":"answer","call":"BmsSeek","args":[1,2,3]}', /line 3: .*BmsSeek has 2 arguments, "args" gives 3/],
    ["{", /line 2: /],
  ]) {
    writeFileSync(scenario, good + line);
    await assert.rejects(tv.play(scenario), (error) => mistake.test(error.message) && /; nothing is scheduled$/.test(error.message), line);
    assert.deepEqual((await tv.state()).scheduled, [], line);
  }
  // What waits already isn't known beforehand: 16 MiB at most.
  writeFileSync(scenario, `{"at":1,"tv":"setting","key":"k","value":"${"x".repeat(1_000_000)}"}\n`.repeat(10));
  await tv.play(scenario);
  const waiting = (await tv.state()).scheduled.length;
  await assert.rejects(tv.play(scenario), /own\.jsonl: line [3-9]: .*; what stands before it is scheduled$/);
  assert.ok((await tv.state()).scheduled.length > waiting);
});

test("the journal is what happened until now, however much that is", async () => {
  const tv = await startTv({ date: "file" });
  await tv.send("RegisterEvent", { event: 90019 });
  const sent = 1500;
  for (let i = 0; i < sent; i++) await tv.send("SetIntegerToVconfWithKey", { key: "k", input: i });
  const values = tv.journal.calls("vconf_set_int").map(({ args }) => args[1]);
  assert.deepEqual(values, Array.from({ length: sent }, (_, i) => i));
  assert.equal(tv.journal.replies().length, sent + 1);
  assert.equal(tv.journal.filter((line) => line.await?.command === "RegisterEvent").length, 1);

  assert.deepEqual(tv.messages, []);
  assert.equal(await tv.send("SetNextService"), true);
  await tv.waitForMessage("ITVS_Signal_ZELumo_Control_State_ChLoad");
  assert.deepEqual(tv.messages.map(({ command }) => command), ["ITVS_Signal_ZELumo_Control_State_ChLoad"]);
  assert.equal((await tv.channel()).name, "Pellmoor News");
  assert.equal(tv.journal.messages({ data: { event: 90019 } }).length, 1);
  assert.equal(tv.journal.messages((message) => message.data.event === 1).length, 0);
  // A verb about a call is no call.
  await tv.fail("BmsPlay");
  assert.equal(tv.journal.calls("BmsPlay").length, 0);
});

test("what is waited for came already, comes, or is told to have stayed away", async () => {
  const tv = await startTv();
  assert.equal(await tv.player(), null);
  await tv.send("RegisterEvent", { event: 90027 });
  await tv.send("Init", { url: "http://sample.tv/film.mpd", timeOffset: 0 });
  const programId = "1001-1767225600";
  assert.equal(JSON.parse(await tv.send("GetProgram", { input: { programId } })).program.programId, programId);
  assert.equal((await tv.waitForCall("BmsCreatePlayer", { args: ["http://sample.tv/film.mpd"] })).result, 0); // the first of them
  const played = tv.waitForCall("BmsPlay", { args: [null] });
  const message = tv.waitForMessage({ type: 97, param1: "" });
  await tv.send("Play");
  assert.deepEqual((await played).args, [(await tv.player()).id]);
  await tv.report("EndOfStream");
  assert.equal((await message).event, "ZELUMO_EVENT");
  await assert.rejects(tv.waitForMessage("ITVS_Signal_Instant_On", { timeout: 30 }), (error) => {
    assert.ok(error instanceof TvError);
    assert.match(error.message, /a message "ITVS_Signal_Instant_On" did not come within 30 ms; messages that came:\n(.*\n)*.*"type":97/);
    return true;
  });
  await tv.fire(90027);
  assert.equal((await tv.waitForMessage(({ command }) => command === "ITVS_Signal_Instant_On")).code, 0);
  const lost = tv.waitForMessage("ITVS_Signal_Instant_Off");
  await Promise.all([assert.rejects(lost, /the TV ended before/), tv.close()]);
  await assert.rejects(tv.press("Enter"), /the TV is closed/);
  assert.ok(tv.journal.calls("BmsPlay").length, "the journal stays");
});

test("a recording replays, pages of allowed origins are let in, and a settings file is kept", async () => {
  const record = join(folder, "recording.jsonl");
  writeFileSync(join(folder, "index.html"), "mine");
  writeFileSync(record, "an older one");
  const options = { record, settings: join(folder, "settings.db"), allowOrigins: ["http://localhost:5173"], app: folder, log: () => {} };
  const tv = await startTv(options);
  const status = async (origin) => (await fetch(`${tv.url}/tv/state`, { headers: { Origin: origin } })).status;
  assert.equal(await (await fetch(tv.url)).text(), "mine");
  assert.deepEqual([await status("http://localhost:5173"), await status("http://localhost:5174")], [200, 403]);
  await tv.set("k", 5);
  await tv.send("GetIntegerFromVconfWithKey", { key: "k" });
  await tv.advance(1000);
  await tv.close();
  const replayed = start("node_modules/.bin/zelumo-tv", ["script", "--check", record]);
  assert.deepEqual([await replayed.ended, replayed.out, replayed.err], [{ code: 0, signal: null }, "", ""]);
  assert.match(readFileSync(record, "utf8"), /"advance","ms":1000/);
  const again = await startTv({ ...options, record: undefined });
  assert.equal((await again.state()).settings.k, 5);
});

test("the TV ends with its parent, however that ends, and leaves nothing", async () => {
  const file = JSON.stringify({ channels: [{ id: "7", name: "Only One" }] });
  const text = (then) => `
    import { startTv } from "zelumo-tv";
    const tv = await startTv({ file: ${file} });
    console.log(tv.url, tv.pid, tv.journal.all().length);
    ${then}`;
  const temporary = mkdtempSync(join(folder, "tmp-"));
  for (const [what, then, end] of [
    ["killed", "setInterval(() => {}, 1000);", (child) => child.kill("SIGKILL")],
    ["forgets to close it", "", () => {}],
    ["throws", "throw new Error('expected here');", () => {}],
    ["closes it", "await tv.close();", () => {}],
    ["disposes of it", "await tv[Symbol.asyncDispose]();", () => {}],
  ]) {
    const run = script(text(then), { env: { ...process.env, TMPDIR: temporary } });
    const [url, pid] = await until(() => run.out.includes("\n") && run.out.trim().split(" "), `${what}: ${run.err}`);
    end(run.child);
    await run.ended;
    await until(() => isUp(url).then((up) => !up), `${what}: ${url} is up`);
    await until(() => !runs(pid), `${what}: the process`);
    assert.deepEqual(readdirSync(temporary), [], what);
  }
});

test("a host that is killed is told, whatever is asked of it", async () => {
  for (const [what, ask] of [
    ["a state", (tv) => tv.state()],
    ["a command", (tv) => tv.send("GetVersion")],
    ["a wait", (tv) => tv.waitForMessage("ITVS_Signal_Instant_On")],
  ]) {
    const tv = await startTv();
    process.kill(tv.pid, "SIGKILL");
    // What is on its way when it dies may still be answered.
    const asked = (async () => {
      for (let asked = 0; asked < 100; asked++) await ask(tv);
    })();
    await assert.rejects(asked, /^TvError: the TV host has ended: SIGKILL$/, what);
  }
  const tv = await startTv();
  process.kill(tv.pid, "SIGKILL");
  while (runs(tv.pid)); // this thread stands still, so that nothing has told it yet
  assert.throws(() => tv.journal.all(), /^TvError: the TV host has ended$/);
});
