// The page of klrx report in a browser: what is shown, searched, sorted, unfolded, and that it stays quick and to itself.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';

import { run } from '../../tools/commands/run.mjs';
import explainModule from '../../lib/explain.cjs';

const TITLES = 10000;
const folder = mkdtempSync(join(tmpdir(), 'klrx-report-'));
const lexicon = { categories: [{ key: 'food', zh: ['火锅'], en: ['hotpot'] }, { key: 'pet', zh: ['猫'] }, { key: 'city', zh: ['夜景'] }],
  humans: [{ sceneKey: '', zh: ['无'] }] };
const words = ['火锅', '猫', '<b>猫</b>', '无', '火锅交付'];
let browser;
let page;
const said = [];

before(async () => {
  writeFileSync(join(folder, 'lex.json'), JSON.stringify(lexicon));
  writeFileSync(join(folder, 'titles.tsv'), Array.from({ length: TITLES }, (_, i) => `${words[i % words.length]} ${i}\n`).join(''));
  const io = { out: () => true, err: () => true, loadAddon: async () => assert.fail(), loadExplainModule: async () => explainModule };
  process.chdir(folder);
  for (const line of ['build lex.json --out lex.klrx', 'report lex.klrx titles.tsv --out report.html']) {
    assert.equal(await run(line.split(' '), io), 0, line);
  }
  browser = await chromium.launch({ executablePath: process.env.CORVENDA_TEST_BROWSER || '/usr/bin/chromium', args: ['--no-sandbox'] });
  page = await browser.newPage({ colorScheme: 'dark', viewport: { width: 1200, height: 900 } });
  page.on('console', (message) => said.push(message.text()));
  page.on('pageerror', (error) => said.push(error.message));
  page.on('request', (request) => { if (!/^(?:file|blob|data):/.test(request.url())) said.push(request.url()); });
  await page.goto(pathToFileURL(join(folder, 'report.html')).href);
  await page.waitForSelector('.row');
});
after(async () => {
  await browser?.close();
  rmSync(folder, { recursive: true, force: true });
});

const found = () => page.textContent('#found');
const rows = () => page.$$eval('.item .row', (items) => items.map((item) => item.firstChild.textContent));

test('figures and the list tell what the pack makes of the titles', async () => {
  assert.match(await page.textContent('#summary'), /^10000 titles: 8000 with a scene \(80\.0 %\), 2000 without, 2000 suppressed/);
  const figures = await page.textContent('#figures');
  for (const part of ['food', '40.0 %', 'Aliases never found: 2', 'hotpot', '夜景']) assert.ok(figures.includes(part), part);
  assert.equal(await found(), '10000 of 10000');
  assert.equal((await rows())[2], '<b>猫</b> 2', 'titles are text');
  assert.deepEqual(await page.$$eval('.item:nth-child(4) .veto', (cells) => cells.map(({ textContent }) => textContent).filter(Boolean)), ['无', 'veto']);
});

test('search, figures as filters, sorting', async () => {
  await page.keyboard.press('/');
  await page.keyboard.type('scene:pet 1234');
  assert.equal(await found(), '0 of 10000');
  await page.fill('#words', '1236');
  assert.equal(await found(), '1 of 10000');
  await page.click('#without');
  assert.deepEqual([await found(), await page.getAttribute('#without', 'aria-pressed')], ['2000 of 10000', 'true']);
  await page.click('#all');
  await page.click('button.bar:has-text("pet")');
  assert.equal(await found(), '4000 of 10000');
  await page.click('#heads button:has-text("Title")');
  await page.click('#heads button:has-text("Title")');
  const titles = await rows();
  assert.deepEqual(titles, titles.toSorted().reverse());
  assert.equal(await page.getAttribute('#heads [aria-sort="descending"]', 'role'), 'columnheader');
  await page.click('#all');
});

test('the keyboard moves and unfolds; only what is in sight is in the document', async () => {
  await page.focus('#grid');
  await page.keyboard.press('Home');
  await page.keyboard.press('Enter');
  assert.match(await page.textContent('.item.current .why'), /its score|no other row|scene:/);
  const [first, second] = await page.$$eval('.item', (items) => items.slice(0, 2).map((item) => item.getBoundingClientRect()));
  assert.ok(second.top >= first.bottom - 1, 'the next title is below the explanation');
  await page.keyboard.press('Enter');
  assert.equal(await page.locator('.item .why').count(), 0);
  for (const key of ['End', 'PageUp', 'PageDown', 'Home', 'ArrowDown']) {
    await page.keyboard.press(key);
    assert.ok(await page.locator('.item').count() < 100, key);
    assert.ok(await page.locator('.item.current').isVisible(), key);
  }
  await page.keyboard.press('End');
  assert.equal(await page.getAttribute('.item.current .row', 'aria-rowindex'), String(TITLES + 1));
});

test('nothing is wider than the window but the list, which scrolls', async () => {
  for (const width of [400, 800, 1200]) {
    await page.setViewportSize({ width, height: 900 });
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
  }
});

test('dark where the system is, and silent', async () => {
  assert.equal(await page.evaluate(() => getComputedStyle(document.body).backgroundColor), 'rgb(23, 25, 28)');
  assert.deepEqual(said, [], 'no error, no request');
});
