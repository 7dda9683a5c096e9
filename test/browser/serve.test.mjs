// klrx serve in a browser: titles as they are typed, sources as they are saved, and who may ask.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { request } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';

import { run } from '../../tools/commands/run.mjs';
import addon from '../../lib/index.cjs';
import explainModule from '../../lib/explain.cjs';

const folder = mkdtempSync(join(tmpdir(), 'klrx-serve-test-'));
const save = (lexicon) => writeFileSync(join(folder, 'lex.json'), typeof lexicon === 'string' ? lexicon : JSON.stringify(lexicon));
const food = { key: 'food', zh: ['火锅'] };
let url;
let stop;
let ended;
let browser;
let page;
const said = [];

before(async () => {
  save({ categories: [food] });
  writeFileSync(join(folder, 'titles.tsv'), '火锅\n滑板\n');
  const ready = new Promise((resolve, reject) => {
    ended = run(['serve', join(folder, 'lex.json'), '--titles', join(folder, 'titles.tsv')], {
      out: () => true, err: () => true, loadAddon: async () => addon, loadExplainModule: async () => explainModule,
      untilStopped: (address) => { resolve(address); return new Promise((end) => { stop = end; }); },
    });
    ended.then((status) => reject(new Error(`status ${status}`)), reject);
  });
  url = await ready;
  browser = await chromium.launch({ executablePath: process.env.CORVENDA_TEST_BROWSER || '/usr/bin/chromium', args: ['--no-sandbox'] });
  page = await browser.newPage();
  page.on('console', (message) => said.push(message.text()));
  page.on('pageerror', (error) => said.push(error.message));
  await page.goto(url);
  await page.waitForSelector('.row');
});
after(async () => {
  await browser?.close();
  rmSync(folder, { recursive: true, force: true });
  stop?.();
  assert.equal(await ended, 0);
});

/** Waits until an element has this text in it. */
const says = (selector, text) => page.waitForFunction(([where, what]) => document.querySelector(where).textContent.includes(what), [selector, text]);

test('a title is explained as it is typed', async () => {
  assert.match(await page.textContent('#summary'), /^2 titles: 1 with a scene/);
  await page.fill('#raw', '周末火锅');
  await says('#why', '火锅 decides: no other row speaks for the title');
  await page.fill('#raw', '滑板');
  await says('#why', 'no row speaks for the title');
});

test('saved sources answer at once; with errors the last good ones stay', async () => {
  save({ categories: [food, { key: 'skate', zh: ['滑板'] }] });
  await says('#why', '滑板 decides');
  await says('#summary', '2 titles: 2 with a scene');
  save('{"categories": [');
  await says('#error', 'the last good version answers');
  await says('#findings', 'lex.json:1:17');
  await page.fill('#raw', '滑板车');
  await says('#why', '滑板 decides');
  save({ categories: [food, { key: 'skate', zh: ['板'] }] });
  await says('#findings', 'one-character');
  assert.equal(await page.textContent('#error'), '');
  assert.deepEqual(said, []);
});

/** The status of a request as another program or page would make it. */
const statusOf = (path, headers = {}, method = 'GET') => new Promise((resolve, reject) => {
  const { port } = new URL(url);
  request({ host: '127.0.0.1', port, path, method, headers }, (response) => {
    response.destroy();
    resolve(response.statusCode);
  }).on('error', reject).end();
});

test('nobody asks who does not know the address, nor by another name or from another page', async () => {
  const { pathname, host, port } = new URL(url);
  for (const [path, headers, method, expected] of [
    [pathname, {}, 'GET', 200], [`${pathname}report.json`, { origin: `http://${host}` }, 'GET', 200],
    [pathname, { host: `localhost:${port}` }, 'GET', 200],
    ['/', {}, 'GET', 404], ['/x/', {}, 'GET', 404], [`${pathname}x`, {}, 'GET', 404], [`${pathname}../`, {}, 'GET', 404],
    [`${pathname}toString`, {}, 'GET', 404], [`${pathname}report.json/x`, {}, 'GET', 404],
    [pathname, { host: `evil.example:${port}` }, 'GET', 403], [pathname, { origin: 'http://evil.example' }, 'GET', 403],
    [pathname, { origin: 'null' }, 'GET', 403], [pathname, {}, 'POST', 405],
  ]) assert.equal(await statusOf(path, headers, method), expected, `${method} ${path} ${JSON.stringify(headers)}`);
});
