// The cost of a title against the number of rules, as a drawing: both axes logarithmic, one line an engine.

const WIDTH = 860;
const HEIGHT = 440;
const AREA = { left: 70, right: 600, top: 46, bottom: 370 };
const LINE_HEIGHT = 17;

const lines = [
  { name: 'plain loop', color: '#9a3412', read: ({ plain }) => plain },
  { name: 'JavaScript, careful Map', color: '#b7791f', read: ({ rival }) => rival.cpu },
  { name: 'this addon', color: '#1d4ed8', read: ({ ours }) => ours.cpu },
];

/** Powers of ten from below the least to above the greatest. */
function decades(numbers) {
  const [low, high] = [Math.min(...numbers), Math.max(...numbers)].map(Math.log10);
  return Array.from({ length: Math.ceil(high) - Math.floor(low) + 1 }, (_, i) => 10 ** (Math.floor(low) + i));
}

function axis(ticks, [from, to]) {
  const [low, high] = [ticks[0], ticks.at(-1)].map(Math.log10);
  return (value) => (from + ((Math.log10(value) - low) / (high - low)) * (to - from)).toFixed(1);
}

const text = (x, y, content, extra = '') => `<text x="${x}" y="${y}" ${extra}>${content}</text>`;
const tickName = (value) => (value >= 1e6 ? `${value / 1e6}M` : value >= 1e3 ? `${value / 1e3}k` : String(value));

/** An SVG of the scene batches among the outcomes. */
export function drawPlot(outcomes, { date, processor, node }) {
  const points = Object.entries(outcomes).filter(([task]) => /^scene \d+$/.test(task))
    .map(([task, outcome]) => ({ rows: Number(task.slice(6)), outcome })).sort((a, b) => a.rows - b.rows);
  const rowTicks = decades(points.map(({ rows }) => rows));
  const costTicks = decades(lines.flatMap(({ read }) => points.map(({ outcome }) => read(outcome))));
  const x = axis(rowTicks, [AREA.left, AREA.right]);
  const y = axis(costTicks, [AREA.bottom, AREA.top]);
  const grid = [
    ...rowTicks.map((tick) => `<path d="M${x(tick)} ${AREA.top}V${AREA.bottom}"/>`),
    ...costTicks.map((tick) => `<path d="M${AREA.left} ${y(tick)}H${AREA.right}"/>`),
  ];
  const labels = [
    ...rowTicks.map((tick) => text(x(tick), AREA.bottom + 18, tickName(tick), 'text-anchor="middle"')),
    ...costTicks.map((tick) => text(AREA.left - 8, Number(y(tick)) + 4, tickName(tick), 'text-anchor="end"')),
    text((AREA.left + AREA.right) / 2, AREA.bottom + 40, 'rows a section (scenes, phrases, facets, places)',
      'text-anchor="middle"'),
    text(AREA.left - 50, 24, 'Microseconds a title in a batch of 10,000, CPU time of the thread', 'font-weight="bold"'),
    text(AREA.left - 50, HEIGHT - 12, `${processor}, Node.js ${node}, ${date}`, 'fill="#666"'),
  ];
  const last = points.at(-1).outcome;
  const curves = lines.flatMap(({ color, read }) => {
    const places = points.map(({ rows, outcome }) => [x(rows), y(read(outcome))]);
    const path = places.map((place) => place.join(' ')).join('L');
    return [`<path d="M${path}" fill="none" stroke="${color}" stroke-width="2"/>`,
      ...places.map(([cx, cy]) => `<circle cx="${cx}" cy="${cy}" r="3.5" fill="${color}"/>`)];
  });
  const names = [];
  for (const { name, color, read } of [...lines].sort((a, b) => b.read(last) - a.read(last))) {
    const at = Math.max(Number(y(read(last))) + 4, (names.at(-1)?.at ?? 0) + LINE_HEIGHT);
    names.push({ at, svg: text(AREA.right + 12, at, `${name}: ${Number(read(last).toPrecision(3)).toLocaleString('en')} µs`, `fill="${color}"`) });
  }
  return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${WIDTH} ${HEIGHT}" font-family="sans-serif" font-size="13">
<rect width="${WIDTH}" height="${HEIGHT}" fill="#fff"/>
<g stroke="#ddd">${grid.join('')}</g>
${[...labels, ...curves, ...names.map(({ svg }) => svg)].join('\n')}
</svg>
`;
}
