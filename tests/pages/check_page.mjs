// Looks at a page in Chromium as people do: check_page.mjs MODULES CHROMIUM PAGE...
//
// MODULES is a folder with puppeteer-core and axe-core. Scripts are off until axe-core looks at the page.
import { createRequire } from "node:module";
import { pathToFileURL } from "node:url";
import path from "node:path";

const [modules, chromium, ...pages] = process.argv.slice(2);
const require = createRequire(path.resolve(modules, "package.json"));
const puppeteer = require("puppeteer-core");
const axe = require("axe-core");
const WIDTHS = [800, 1600];
const MAX_BYTES = 1000000;

/** Runs in the page: texts whose boxes overlap, and text beyond the right edge that no region scrolls. */
function misplaced() {
  const boxes = [];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    const element = node.parentElement;
    if (!node.data.trim() || element.closest(".skip") || !element.checkVisibility({ contentVisibilityAuto: true })) continue;
    const range = document.createRange();
    range.selectNodeContents(node);
    for (const box of range.getClientRects()) {
      if (box.width > 0) boxes.push({ box, text: node.data.trim().slice(0, 30), scrolled: !!element.closest(".scroll") });
    }
  }
  const faults = [];
  boxes.sort((one, other) => one.box.top - other.box.top);
  boxes.forEach((one, i) => {
    if (!one.scrolled && one.box.right > document.documentElement.clientWidth + 1) faults.push(`beyond the edge: ${one.text}`);
    for (let j = i + 1; j < boxes.length && boxes[j].box.top < one.box.bottom - 2; ++j) {
      const { box, text } = boxes[j];
      if (box.left < one.box.right - 1 && one.box.left < box.right - 1) faults.push(`overlap: ${one.text} / ${text}`);
    }
  });
  if (document.documentElement.scrollWidth > document.documentElement.clientWidth) faults.push("the page scrolls sideways");
  return { texts: boxes.length, faults: faults.slice(0, 10) };
}

/** Runs in the page: what a bar shows, beside the number next to it. */
function wrongBars() {
  return [...document.querySelectorAll(".bar")].filter((bar) => bar.checkVisibility()).filter((bar) => {
    const told = parseFloat(bar.previousElementSibling.textContent);
    const drawn = parseFloat(getComputedStyle(bar, "::before").width) / bar.clientWidth / 0.8 * 100;
    return Math.abs(Math.min(told, 125) - drawn) > 1;
  }).map((bar) => bar.parentElement.textContent);
}

async function tabStops(page) {
  const stops = [];
  await page.evaluate(() => window.scrollTo(0, 0));
  for (let i = 0; i < 400; ++i) {
    await page.keyboard.press("Tab");
    const stop = await page.evaluate(() => {
      const element = document.activeElement;
      return element === document.body ? "" : `${element.tagName} ${(element.getAttribute("aria-label") ?? element.textContent).slice(0, 60)}`;
    });
    if (stop === "" || stop === stops[0]) break;
    stops.push(stop);
  }
  return stops;
}

async function checkKeyboard(page, say) {
  const stops = await tabStops(page);
  const wanted = await page.evaluate(() => document.querySelectorAll("a[href], summary").length);
  const reached = stops.filter((stop) => /^(A|SUMMARY) /.test(stop)).length;
  if (!stops[0]?.startsWith("A To the figures")) say(`the first stop is ${stops[0]}, not the skip link`);
  if (reached !== wanted) say(`${reached} of ${wanted} links and summaries can be reached`);
  await page.focus(".skip");
  await page.keyboard.press("Enter");
  if (await page.evaluate(() => document.activeElement.id) !== "main") say("the skip link does not lead to the figures");
  await page.focus("summary");
  await page.keyboard.press("Enter");
  if (!await page.evaluate(() => document.querySelector("details").open)) say("Enter does not open the first details");
}

async function checkForReaders(page, say) {
  await page.setJavaScriptEnabled(true); // axe-core waits with timers.
  await page.reload();
  for (const scheme of ["light", "dark"]) {
    await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
    await page.evaluate(() => document.querySelectorAll("details").forEach((each) => { each.open = true; }));
    await page.evaluate(axe.source);
    const { violations, passes } = await page.evaluate(() => window.axe.run());
    for (const each of violations) say(`${scheme}: ${each.id}: ${each.help}: ${each.nodes.length}, such as ${each.nodes[0].html.slice(0, 150)}`);
    if (passes.length < 15) say(`axe-core checked ${passes.length} rules only`);
  }
}

async function checkPage(browser, file) {
  const faults = [];
  const say = (fault) => faults.push(fault);
  const page = await browser.newPage();
  await page.setJavaScriptEnabled(false);
  const requests = [];
  page.on("request", (request) => requests.push(request.url()));
  const url = pathToFileURL(path.resolve(file)).href;
  const response = await page.goto(url, { waitUntil: "load" });
  const { length } = await response.buffer();
  if (length > MAX_BYTES) say(`${length} bytes`);
  for (const width of WIDTHS) {
    await page.setViewport({ width, height: 1000 });
    const { texts, faults: found } = await page.evaluate(misplaced);
    if (texts < 50) say(`${texts} texts only are shown at ${width} pixels`);
    found.forEach((fault) => say(`${width} pixels: ${fault}`));
  }
  (await page.evaluate(wrongBars)).forEach((bar) => say(`the bar differs from ${bar}`));
  await checkKeyboard(page, say);
  await checkForReaders(page, say);
  const away = requests.filter((each) => each !== url && !each.startsWith("data:"));
  if (away.length) say(`requests: ${away}`);
  await page.close();
  console.log(`${file}: ${length} bytes, ${faults.length ? "faults:" : "nothing wrong"}`);
  faults.forEach((fault) => console.log(`  ${fault}`));
  return faults.length;
}

const browser = await puppeteer.launch({ executablePath: chromium, args: ["--no-sandbox", "--disable-gpu"] });
let faults = 0;
for (const file of pages) faults += await checkPage(browser, file);
await browser.close();
process.exit(faults ? 1 : 0);
