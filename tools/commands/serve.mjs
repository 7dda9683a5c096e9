// klrx serve: the page of klrx report, live while a lexicon is written.

import { createRequire } from 'node:module';
import { basename, resolve } from 'node:path';
import { packsOf } from '../lib/answers.mjs';
import { misuse, no, Refusal } from '../lib/command_line.mjs';
import { explanationText } from '../lib/explanation_text.mjs';
import { isPack, watchLexicon } from '../lib/live_lexicon.mjs';
import { ask, loadExplainModule } from '../lib/native.mjs';
import { sendJson, servePage } from '../lib/page_server.mjs';
import { readPack } from '../lib/pack_reader.mjs';
import { livePage, makeReport } from '../lib/report.mjs';
import { readTrust } from '../lib/seal_options.mjs';
import { sourceFiles } from '../lib/sources.mjs';
import { allTitles } from '../lib/titles.mjs';
import { lint } from './lint.mjs';

const englishReading = createRequire(import.meta.url)('../../lib/english_reading.cjs');

/** Answers a question of the page; a refusal is told there. */
const answering = (handler) => (query, response) => {
  try {
    sendJson(response, handler(query));
  } catch (error) {
    if (!(error instanceof Refusal)) throw error;
    sendJson(response, { error: error.message });
  }
};

/** @param {import('../lib/command_line.mjs').Call} call */
async function run(call) {
  const { values, positionals, io, warn } = call;
  if (positionals.length === 0) throw misuse('serve needs a PACK or SOURCES');
  const port = Number(values.port ?? 0);
  if (!Number.isInteger(port) || port < 0 || port > 65535) throw misuse(`--port is 0 to 65535, not ${values.port}`);
  if (positionals.length > 1 && positionals.some((path) => path.endsWith('.klrx'))) throw misuse('serve shows one PACK or any number of SOURCES');
  if (!isPack(positionals)) sourceFiles(positionals); // names that can't be meant are refused now, all else may be mended later
  const titles = values.titles === undefined ? [] : await allTitles(values.titles, io);
  const { explainTitle } = await loadExplainModule(io);
  const name = positionals.length === 1 ? basename(resolve(positionals[0])) : `${positionals.length} sources`;

  /** @type {import('../lib/live_lexicon.mjs').Version} */
  let version = { number: 0, packPath: undefined, error: '', findings: [] };
  /** @type {Set<import('node:http').ServerResponse>} */
  const listeners = new Set();
  /** @type {{ number: number, report: import('../lib/report.mjs').Report } | undefined} */
  let made;

  const explain = (packPath, title) => {
    const packs = packsOf(packPath);
    return ask(() => explainTitle({ ...packs, ...title }), packs.allowedRoot, [packPath]);
  };
  const current = () => {
    if (version.packPath === undefined) throw no(version.error);
    return version.packPath;
  };
  const reportNow = () => {
    if (made?.number === version.number) return made.report;
    const packPath = current();
    const terms = readPack(packPath, readTrust(undefined)).sections.scene.map(({ term }) => term);
    const explanations = titles.map((title) => explain(packPath, title));
    made = { number: version.number, report: makeReport(name, terms, explanations) };
    return made.report;
  };
  const tell = (listener) => {
    const { number, error, findings } = version;
    listener.write(`data: ${JSON.stringify({ number, error, findings })}\n\n`);
  };
  const lintNow = async () => {
    const { report } = await lint.run({ ...call, values: { limit: '0' }, warn: () => {}, progress: () => {} });
    return /** @type {any} */ (report).findings.map(({ place, rule, message }) => ({ place, message: `${rule}: ${message}` }));
  };
  const lexicon = watchLexicon(positionals, lintNow, (next) => {
    const mended = version.error !== '' && next.error === '';
    version = next;
    for (const listener of listeners) tell(listener);
    if (next.error !== '') warn([next.error, ...next.findings.map(({ place, message }) => `${place}: ${message}`)].join('\n'));
    if (mended) call.tell('klrx: the errors are gone\n');
  });
  const page = livePage(name);
  const server = await servePage(port, {
    '': (query, response) => {
      response.setHeader('content-type', 'text/html; charset=utf-8');
      response.end(page);
    },
    'report.json': answering(reportNow),
    'explain.json': answering((query) => {
      const raw = query.get('raw') ?? '';
      if (raw === '') return { text: '' };
      return { text: explanationText(explain(current(), { raw, normalizedEnglish: query.get('english') || englishReading(raw) }), false) };
    }),
    events: (query, response) => {
      response.setHeader('content-type', 'text/event-stream');
      listeners.add(response);
      response.on('close', () => listeners.delete(response));
      tell(response);
    },
  }).catch(async (error) => {
    await lexicon.close();
    throw no(`port ${port} cannot be listened on: ${error.message}`);
  });
  if (!values.json) await io.out(`${server.url}\n`);
  io.err(`klrx: ${values.json ? `${server.url}, ` : ''}Ctrl+C ends\n`);
  await io.untilStopped(server.url);
  await Promise.all([server.close(), lexicon.close()]);
  return { report: { url: server.url }, text: '' };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const serve = {
  summary: 'show a lexicon live in the browser while it is written',
  usage: 'PACK | SOURCE... [options]',
  about: 'Type a title and see why it comes out as it does. Sources are watched: each time they are saved the page shows what '
    + 'changed, and what is wrong with them; until that is mended, the last good version answers. Only this machine can reach the '
    + 'page, at an address that is printed and new each time.',
  options: {
    titles: { type: 'string', value: 'FILE', help: 'titles for the figures and the list, as for klrx report' },
    port: { type: 'string', value: 'N', help: 'port; a free one by default' },
  },
  examples: [['a folder of sources and a list of titles', 'klrx serve lexicon --titles titles.tsv']],
  run,
};
