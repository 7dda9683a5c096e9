// The page of `klrx report`: figures, and a list of titles of which only what is in sight is in the document.
const ROW = 30; // pixels, as in page.css
const COLUMNS = [
  ['raw', 'Title'], ['scene', 'Scene'], ['detail', 'Detail'], ['alias', 'Decided by'], ['kind', 'Kind'], ['score', 'Score'], ['place', 'Place'],
  ['people', 'People'],
];
const TOP = 40; // aliases in the figure
const UNUSED = 500; // aliases that are listed

const at = (id) => document.getElementById(id);
const percent = (count, all) => `${all === 0 ? 0 : ((100 * count) / all).toFixed(1)} %`;

/** An element with properties and children; texts go in as texts. */
function make(tag, properties = {}, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  for (const [name, value] of Object.entries(properties)) {
    if (name === 'role' || name.startsWith('aria-')) element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}

/** The report that is in the page, or the server's. */
async function fetchReport() {
  if (at('data').textContent === '') return (await fetch('report.json')).json();
  const bytes = Uint8Array.from(atob(at('data').textContent), (character) => character.charCodeAt(0));
  const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('gzip'));
  return new Response(stream).json();
}

// --- Figures -----------------------------------------------------------------------------------------------------

function figure(head, rows, note, onClick) {
  const most = Math.max(1, ...rows.map(([, count]) => count));
  const bars = rows.map(([name, count, shown = String(count)]) => make(
    onClick ? 'button' : 'div', { className: 'bar', ...(onClick && { type: 'button', onclick: () => onClick(name) }) },
    make('span', { textContent: name, title: name }), make('meter', { max: most, value: count, 'aria-hidden': 'true' }), make('span', { textContent: shown })));
  return make('div', { className: 'figure', tabIndex: 0 }, make('h3', { textContent: head }), ...bars, ...(note ? [make('p', { className: 'note', textContent: note })] : []));
}

function showFigures(report, search) {
  const { titles, scenes, kinds, aliases, unused, scores } = report;
  const share = ([name, count]) => [name, count, percent(count, titles.length)];
  const list = make('ul', { className: 'unused' }, ...unused.slice(0, UNUSED).map((alias) => make('li', { textContent: alias })));
  const never = make('div', { className: 'figure', tabIndex: 0 }, make('h3', { textContent: `Aliases never found: ${unused.length}` }), list,
    ...(unused.length > UNUSED ? [make('p', { className: 'note', textContent: `and ${unused.length - UNUSED} more` })] : []));
  at('figures').replaceChildren(
    figure('Titles by scene', scenes.map(share), '', (name) => search(`scene:${name}`)),
    figure('Titles by kind of row', kinds.map(share), '', (name) => search(`kind:${name}`)),
    figure('Deciding aliases', aliases.slice(0, TOP), aliases.length > TOP ? `and ${aliases.length - TOP} more` : '', (name) => search(`alias:${name}`)),
    figure('Scores', scores.map(({ from, to, count }) => [`${from} to ${to}`, count]), 'Scores compare rows of one kind whose terms are equally long.'),
    never);
}

// --- The list ----------------------------------------------------------------------------------------------------

/** "scene:food hot" → titles of the scene food that have "hot" somewhere. */
function matcherOf(text) {
  const tests = text.toLowerCase().split(/\s+/).filter(Boolean).map((word) => {
    const [, name, value] = /^(scene|kind|alias|place|people|detail):(.*)$/.exec(word) ?? [];
    if (name) return (title) => (value === '' ? title[name] === '' : title[name].toLowerCase().replaceAll(' ', '') === value);
    return (title) => title.text.includes(word);
  });
  return (title) => tests.every((test) => test(title));
}

function listOf() {
  let titles = [];
  const grid = at('grid');
  const rows = at('rows');
  const open = new Map(); // title → height of its explanation, 0 until it has been shown
  let shown = [];
  let tops = [];
  let current = 0;
  let sorted = { name: '', descending: false };

  const compare = (a, b) => (typeof a === 'number' ? a - b : a < b ? -1 : a > b ? 1 : 0);

  function layOut() {
    tops = new Array(shown.length + 1);
    tops[0] = 0;
    for (let i = 0; i < shown.length; i += 1) tops[i + 1] = tops[i] + ROW + (open.get(shown[i]) ?? 0);
    rows.style.height = `${tops[shown.length]}px`;
  }

  /** The last row that begins at or above a place. */
  function rowAt(place) {
    let [low, high] = [0, shown.length - 1];
    while (low < high) {
      const middle = Math.ceil((low + high) / 2);
      if (tops[middle] <= place) low = middle;
      else high = middle - 1;
    }
    return Math.max(low, 0);
  }

  function rowElement(i) {
    const title = shown[i];
    const cells = COLUMNS.map(([name]) => make('span', {
      role: 'gridcell', textContent: name === 'score' ? (title.scene === '' ? '' : title.score.toFixed(2)) : title[name], title: String(title[name]),
      className: name === 'score' ? 'score' : name === 'scene' && title.suppressed ? 'suppressed' : title.kind === 'veto' && name !== 'raw' ? 'veto' : '',
    }));
    const row = make('div', { className: 'row', role: 'row', 'aria-rowindex': i + 2, 'aria-expanded': open.has(title) }, ...cells);
    row.onclick = () => { current = i; toggle(); };
    const item = make('div', { className: i === current ? 'item current' : 'item', id: `title-${i}` }, row);
    item.style.top = `${tops[i]}px`;
    if (open.has(title)) item.append(make('pre', { className: 'why', textContent: title.why }));
    return item;
  }

  function draw() {
    const first = Math.max(0, rowAt(grid.scrollTop) - 10);
    const last = Math.min(shown.length, rowAt(grid.scrollTop + grid.clientHeight) + 10);
    rows.replaceChildren(...Array.from({ length: last - first }, (_, i) => rowElement(first + i)));
    // Explanations are as high as they come out; what is below moves once that is known.
    let moved = false;
    for (const [i, item] of [...rows.children].entries()) {
      const height = item.querySelector('.why')?.offsetHeight ?? 0;
      if (height === (open.get(shown[first + i]) ?? 0)) continue;
      open.set(shown[first + i], height);
      moved = true;
    }
    if (moved) {
      layOut();
      for (const [i, item] of [...rows.children].entries()) item.style.top = `${tops[first + i]}px`;
    }
    if (shown.length > 0) grid.setAttribute('aria-activedescendant', `title-${current}`);
  }

  function toggle() {
    const title = shown[current];
    if (open.has(title)) open.delete(title);
    else open.set(title, 0);
    layOut();
    draw();
  }

  function reveal() {
    const head = at('heads').offsetHeight;
    const [top, bottom] = [tops[current], tops[current] + ROW + head];
    if (top < grid.scrollTop) grid.scrollTop = top;
    else if (bottom > grid.scrollTop + grid.clientHeight) grid.scrollTop = bottom - grid.clientHeight;
    draw();
  }

  function filter(text) {
    shown = titles.filter(matcherOf(text));
    if (sorted.name !== '') shown.sort((a, b) => (sorted.descending ? -1 : 1) * compare(a[sorted.name], b[sorted.name]));
    current = 0;
    grid.scrollTop = 0;
    grid.setAttribute('aria-rowcount', String(shown.length + 1));
    at('found').textContent = `${shown.length} of ${titles.length}`;
    layOut();
    draw();
  }

  function sortBy(name) {
    sorted = { name, descending: sorted.name === name && !sorted.descending };
    for (const head of at('heads').children) {
      const own = head.dataset.name === name;
      head.setAttribute('aria-sort', own ? (sorted.descending ? 'descending' : 'ascending') : 'none');
    }
    filter(at('words').value);
  }

  for (const [name, text] of COLUMNS) {
    const head = make('span', { role: 'columnheader', 'aria-sort': 'none' }, make('button', { type: 'button', textContent: text, onclick: () => sortBy(name) }));
    head.dataset.name = name;
    at('heads').append(head);
  }
  const page = () => Math.max(1, Math.floor(grid.clientHeight / ROW) - 2);
  const moves = {
    ArrowDown: () => current + 1, ArrowUp: () => current - 1, PageDown: () => current + page(), PageUp: () => current - page(),
    Home: () => 0, End: () => shown.length - 1,
  };
  grid.addEventListener('keydown', (event) => {
    if (event.target !== grid || shown.length === 0) return;
    if (event.key === 'Enter' || event.key === ' ') toggle();
    else if (moves[event.key]) current = Math.min(shown.length - 1, Math.max(0, moves[event.key]()));
    else return;
    event.preventDefault();
    reveal();
  });
  let waiting = false;
  grid.addEventListener('scroll', () => {
    if (waiting) return;
    waiting = true;
    requestAnimationFrame(() => { waiting = false; draw(); });
  });
  new ResizeObserver(draw).observe(grid);
  return {
    filter,
    take(all) {
      titles = all;
      open.clear();
    },
  };
}

// --- The whole page ----------------------------------------------------------------------------------------------

/** Takes in a report, the first or the next. */
function show(report, list) {
  for (const title of report.titles) {
    title.text = [title.raw, title.scene, title.detail, title.place, title.people].join(' ').toLowerCase();
  }
  const without = report.titles.filter(({ scene }) => scene === '').length;
  const suppressed = report.titles.filter((title) => title.suppressed).length;
  at('summary').textContent = `${report.titles.length} titles: ${report.titles.length - without} with a scene `
    + `(${percent(report.titles.length - without, report.titles.length)}), ${without} without, ${suppressed} suppressed by words of asset handling`;
  showFigures(report, (text) => { search(text.replaceAll(/(?<=:.*) /g, '')); at('grid').focus(); });
  list.take(report.titles);
  search(words.value);
}

const list = listOf();
const words = at('words');
function search(text) {
  words.value = text;
  at('without').setAttribute('aria-pressed', String(text === 'scene:'));
  list.filter(text);
}
words.addEventListener('input', () => search(words.value));
at('search').addEventListener('submit', (event) => event.preventDefault());
at('without').addEventListener('click', () => search(words.value === 'scene:' ? '' : 'scene:'));
at('all').addEventListener('click', () => search(''));
document.addEventListener('keydown', (event) => {
  if (event.key !== '/' || event.target instanceof HTMLInputElement) return;
  event.preventDefault();
  words.focus();
});

/** Follows a lexicon that is being written: what is wrong with it, and what it makes of a title that is being typed. */
function live() {
  let asked = 0;
  let number = 0;
  async function explain() {
    const turn = (asked += 1);
    const query = new URLSearchParams({ raw: at('raw').value, english: at('english').value });
    const { text, error } = await (await fetch(`explain.json?${query}`)).json();
    if (turn === asked) at('why').textContent = text ?? error; // answers may overtake each other
  }
  at('live').hidden = false;
  at('try').addEventListener('input', explain);
  at('try').addEventListener('submit', (event) => event.preventDefault());
  at('raw').focus();
  new EventSource('events').onmessage = async ({ data }) => {
    const version = JSON.parse(data);
    at('error').textContent = version.error === '' ? '' : `${version.error}; ${number === 0 ? 'nothing answers yet' : 'the last good version answers'}`;
    at('findings').replaceChildren(...version.findings.map(({ place, message }) =>
      make('li', {}, make('code', { textContent: place }), ` ${message}`)));
    at('findings-head').textContent = version.findings.length === 0 && version.error === '' ? 'No findings' : `Findings: ${version.findings.length}`;
    if (version.number === number) return;
    number = version.number;
    await explain();
    show(await fetchReport(), list);
  };
}

if (at('data').textContent === '') live();
else show(await fetchReport(), list);
