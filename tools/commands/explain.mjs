// klrx explain: why a title came out as it did.

import { createRequire } from 'node:module';
import { packsOf } from '../lib/answers.mjs';
import { misuse } from '../lib/command_line.mjs';
import { explanationText } from '../lib/explanation_text.mjs';
import { ask, loadExplainModule } from '../lib/native.mjs';

const englishReading = createRequire(import.meta.url)('../../lib/english_reading.cjs');

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io }) {
  if (positionals.length > 2) throw misuse('explain needs PACK and one TITLE, in quotes if it has blanks');
  if (positionals.length !== 2 || positionals[1] === '') throw misuse('explain needs PACK and TITLE');
  const [packPath, raw] = positionals;
  const packs = packsOf(packPath, { overlay: values.overlay });
  const { explainTitle } = await loadExplainModule(io);
  const explanation = ask(
    () => explainTitle({ ...packs, raw, normalizedEnglish: values.english ?? englishReading(raw), mediaType: values.photo ? 'photo' : 'video' }),
    packs.allowedRoot, [packPath, ...(values.overlay === undefined ? [] : [values.overlay])]);
  return { report: explanation, text: explanationText(explanation, io.colors) };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const explain = {
  summary: 'show why a title came out as it did',
  usage: 'PACK TITLE [options]',
  about: 'Every row that spoke for the title, in the order in which the resolver compares them (* decides); those that were turned '
    + 'down (-) or taken away by a veto (x), and why; the same for places, people and the workflow policy. The resolver itself reports it.',
  options: {
    english: { type: 'string', value: 'TEXT', help: 'the English reading; by default the title\'s own, "" for none' },
    overlay: { type: 'string', value: 'PATCH', help: 'a patch that is laid over the pack' },
    photo: { type: 'boolean', help: 'the title is that of a photo, not of a video (badges)' },
  },
  examples: [
    ['why this is food', 'klrx explain mine.klrx 周末火锅'],
    ['with a translation, as JSON', 'klrx explain mine.klrx 周末火锅 --english hotpot --json'],
  ],
  run,
};
