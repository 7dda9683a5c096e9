// What is measured, and its goals: one row of the table each. `tasksOf` lists the benchmarks of a run; `rows` read
// their outcomes, which are kept under the keys of the tasks.

const MB = 1e6;
const sizeName = (size) => (size === 'real' ? 'real data' : size >= 1e6 ? `${size / 1e6}M` : `${size / 1e3}k`);
const batchTask = (key, extra) => ({ key, group: key.split(' ')[0], parameters: { task: 'batch', ...extra } });

/** The tasks of a run, in its order. `big` adds what needs a million rows a section. */
export function tasksOf({ sizes, big, rounds, checked, seconds }) {
  const tasks = [];
  for (const size of sizes) {
    const turns = { size, rounds, checked: Math.ceil(checked / (size === 1000 ? 1 : size <= 100000 ? 5 : 20)) };
    tasks.push(batchTask(`scene ${size}`, turns));
    if (size === 'real' || size <= 100000) tasks.push(batchTask(`celebrity ${size}`, { ...turns, people: true }));
    if (size === 1000 || size === 100000) tasks.push(batchTask(`scene-shared ${size}`, { ...turns, shared: true }));
  }
  const add = (key, parameters) => tasks.push({ key, group: key.split(' ')[0], parameters });
  add('single', { task: 'single', size: 100000, rounds });
  add('fixed', { task: 'fixed_cost', rounds });
  add('workflow', { task: 'workflow', rounds });
  for (const size of big ? [100000, 1000000] : [100000]) add(`load ${size}`, { task: 'load', size, times: 5 });
  add('peak', { task: 'load', size: 601000, times: 3 }); // a payload of 163 MB
  add('warm', { task: 'warm_ups', size: 100000 });
  add('workers', { task: 'workers', size: 100000, seconds });
  add('overlays', { task: 'overlays', size: 1000, rounds });
  return tasks;
}

// --- The rows ------------------------------------------------------------------------------------------------------

/** A row: `figure` reads it from the outcomes, and gives undefined if its benchmark didn't run. */
const row = (what, unit, goal, task, figure, { atLeast = false, remark } = {}) => ({
  what, unit, goal, atLeast,
  figure: (outcomes) => (outcomes[task] ? figure(outcomes[task]) : undefined),
  remark: (outcomes) => (outcomes[task] && remark ? remark(outcomes[task]) : ''),
});
const digits = (number, count = 2) => number.toFixed(count);

function batchRemark({ ours, rival, low, high, all, termsPerTitle, againstRatio, ties }) {
  const times = `${digits(ours.cpu)} : ${digits(rival.cpu)} us a title`;
  const spread = `quartiles ${digits(low)}-${digits(high)}, process ${digits(all)}`;
  const other = againstRatio ? `; ${digits(againstRatio, 3)} of the other binary, ${ties} ties` : '';
  return `${times}, ${spread}, ${digits(termsPerTitle, 1)} terms a title${other}`;
}
const batchRow = (what, goal, task) => row(what, 'x rival', goal, task, ({ ratio }) => ratio, { remark: batchRemark });

const loadRow = (size, goal) => row(`first load with its index, ${sizeName(size)} rows a section`, 'ms/MB', goal, `load ${size}`,
  ({ cpu, payloadBytes }) => cpu / 1000 / (payloadBytes / MB),
  { remark: ({ cpu, all, wall, payloadBytes }) => `${digits(cpu / 1000, 0)} ms thread, ${digits(all / 1000, 0)} process, `
    + `${digits(wall / 1000, 0)} wall for ${digits(payloadBytes / MB, 0)} MB` });

const besideRow = (task, what, goal) => row(what, 'B a row', goal, task,
  ({ before, resident, payloadBytes, rowCount }) => (resident - before - payloadBytes) / rowCount,
  { remark: ({ rowCount, payloadBytes }) => `${rowCount} rows of ${digits(payloadBytes / rowCount, 0)} B` });

export const rows = [
  batchRow('scene batch, 1k rows a section', 1.0, 'scene 1000'),
  batchRow('scene batch, 10k', undefined, 'scene 10000'),
  batchRow('scene batch, 100k', 0.8, 'scene 100000'),
  batchRow('scene batch, 1M', 0.5, 'scene 1000000'),
  batchRow('scene batch, real data', 0.9, 'scene real'),
  batchRow('celebrity batch, 1k', 1.0, 'celebrity 1000'),
  batchRow('celebrity batch, 10k', undefined, 'celebrity 10000'),
  batchRow('celebrity batch, 100k', 0.8, 'celebrity 100000'),
  batchRow('celebrity batch, real data', undefined, 'celebrity real'),
  batchRow('scene batch, 1k, all sections with one list of terms', undefined, 'scene-shared 1000'),
  batchRow('scene batch, 100k, all sections with one list of terms', undefined, 'scene-shared 100000'),
  {
    what: 'growth of a batch title from 1k to 1M rows a section', unit: 'x', goal: 2.2, atLeast: false, remark: () => '',
    figure: (outcomes) => {
      const [small, large] = ['scene 1000', 'scene 1000000'].map((task) => outcomes[task]?.ours.cpu);
      return small && large ? large / small : undefined;
    },
  },
  row('resolveSceneIntent, 100k rows, 10 matches', 'us', 15, 'single', ({ scene }) => scene),
  row('extractSemanticFacets, 100k rows, 10 matches', 'us', 30, 'single', ({ facets }) => facets),
  row('lookupBinaryIndex contains, scene, 100k rows, 10 matches', 'us', 40, 'single', ({ lookupScene }) => lookupScene),
  row('lookupBinaryIndex contains, location, 100k rows, 10 matches', 'us', 25, 'single', ({ lookupPlace }) => lookupPlace),
  row('cache hit: empty batch', 'us', 5, 'fixed', ({ emptyBatch }) => emptyBatch,
    { remark: ({ folders }) => `${folders} folders deep` }),
  row('cache hit: inspectRulePack', 'us', 5, 'fixed', ({ inspect }) => inspect),
  row('evaluateWorkflowPolicy', 'us', 3.2, 'workflow', ({ call }) => call),
  loadRow(100000, 4.5),
  loadRow(1000000, 3.5),
  besideRow('load 100000', 'resident beside the payload, 100k', 80),
  besideRow('load 1000000', 'resident beside the payload, 1M', 80),
  row('resident beside the payload after seven warm-ups', 'B a row', 80, 'warm',
    ({ before, again, payloadBytes, rowCount }) => (again - before - payloadBytes) / rowCount,
    { remark: ({ before, end }) => `${digits((end - before) / MB, 0)} MB above the start once a small pack is loaded again` }),
  row('peak of the process during a load of 163 MB', 'MB', 340, 'peak', ({ peak }) => peak / MB,
    { remark: ({ before, payloadBytes }) => `${digits(before / MB, 0)} MB before it, payload ${digits(payloadBytes / MB, 0)} MB` }),
  row('two workers against one', 'x', 1.8, 'workers', ({ own }) => own,
    { atLeast: true, remark: ({ measured, blocked }) => `waiting for a processor taken out; as measured ${digits(measured)}; `
      + `${digits(blocked * 100, 0)} % of the time blocked` }),
  row('overlays of 1,000 + 1,000 aliases', 'ms a call', 2, 'overlays', ({ ms }) => ms,
    { remark: ({ withoutMs }) => `${digits(withoutMs, 3)} without` }),
  row('event-loop delay during a warm-up of 100k, p99', 'ms', undefined, 'warm', ({ p99 }) => p99,
    { remark: ({ idleP99, longest, idleLongest }) =>
      `idle ${digits(idleP99)}; longest ${digits(longest)}, idle ${digits(idleLongest)}` }),
];

/** The rows with their figures: { what, unit, goal, figure, met, remark }, without those that were not measured. */
export function readRows(outcomes) {
  return rows.flatMap(({ what, unit, goal, atLeast, figure, remark }) => {
    const value = figure(outcomes);
    if (value === undefined) return [];
    const met = goal === undefined ? undefined : atLeast ? value >= goal : value <= goal;
    return [{ what, unit, goal, atLeast, figure: value, met, remark: remark(outcomes) }];
  });
}
