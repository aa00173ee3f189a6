// The demo makes commands fail, by the calls that the description says decide them.
import assert from "node:assert/strict";
import { Tv, browserTest } from "./support.mjs";

const tv = await Tv.start();

browserTest("every command that can fail is offered, and fails as often as was said", async (context) => {
  const page = await context.newPage();
  await page.goto(`${tv.url}/`);
  await page.waitForSelector("#started", { state: "attached" });
  await page.click("#tab-faults");
  const form = page.locator('[data-verb="fail"]');
  const { commands } = await (await fetch(`${tv.url}/page-api.json`)).json();
  const offered = await form.locator("option").evaluateAll((options) => options.map(({ value, label }) => [value, label]));
  const decisions = commands.flatMap(({ name, decidedBy }) =>
    decidedBy.map((call) => [`${name} ${call}`, decidedBy.length > 1 ? `${name}: ${call}` : name]));
  assert.deepEqual(offered, decisions);

  const ask = (command) => page.evaluate((name) => document.querySelector("embed").postMessageAndAwaitResponse({ command: name }), command);
  const answers = page.locator(".answer");
  await form.locator("select").selectOption("GetZELumoServices IServiceNavigation::GetServiceList");
  await form.locator('[name="times"]').fill("1");
  await form.locator(".primary").click();
  await answers.filter({ hasText: '{"call":"IServiceNavigation::GetServiceList","result":-1,"times":1}' }).waitFor();
  assert.deepEqual([(await ask("GetZELumoServices")).code, (await ask("GetZELumoServices")).code], [28, 0]);

  await form.locator("select").selectOption("SetNextService IServiceNavigation::SetNextService");
  await form.locator('[name="times"]').fill("");
  await form.locator(".primary").click();
  await answers.filter({ hasText: "SetNextService" }).waitFor();
  assert.deepEqual(await ask("SetNextService"), { code: 0, data: false });
  await answers.getByText("Restore").click();
  await answers.waitFor({ state: "detached" });
  assert.deepEqual(await ask("SetNextService"), { code: 0, data: true });
});
