// The help of klrx, made from the records of the commands.

const WIDTH = 80;

/** Text in lines of at most `WIDTH` columns, those after the first indented. */
function wrap(text, indent) {
  const lines = [''];
  for (const word of text.split(' ')) {
    const line = lines[lines.length - 1];
    const free = WIDTH - (lines.length > 1 ? indent : 0);
    if (line !== '' && line.length + 1 + word.length > free) lines.push(word);
    else lines[lines.length - 1] = line === '' ? word : `${line} ${word}`;
  }
  return lines.join(`\n${' '.repeat(indent)}`);
}

/** Two columns, the second of which is wrapped. */
function table(rows) {
  const width = Math.max(...rows.map(([name]) => name.length)) + 4;
  return rows.map(([name, text]) => wrap(`${`  ${name}`.padEnd(width).replaceAll(' ', '\0')}${text}`, width).replaceAll('\0', ' '))
    .join('\n');
}

/**
 * @param {string} name
 * @param {import('./command_line.mjs').Command} command
 * @param {Record<string, import('./command_line.mjs').Option>} commonOptions
 */
export function commandHelp(name, { summary, usage, about, options, examples }, commonOptions) {
  const rows = Object.entries({ ...options, ...commonOptions })
    .map(([option, { value, help }]) => [`--${option}${value ? ` ${value}` : ''}`, help]);
  const paragraphs = (about ?? '').split('\n').filter(Boolean).map((text) => `\n${wrap(text, 0)}\n`).join('');
  return `klrx ${name}: ${summary}

usage: klrx ${name} ${usage}
${paragraphs}
options:
${table(rows)}

examples:
${examples.map(([what, line]) => `  # ${what}\n  ${line}\n`).join('')}
exit status: 0 done, 1 the answer is no, 2 wrong usage
`;
}

/** @param {Record<string, import('./command_line.mjs').Command>} commands */
export function overview(commands) {
  return `klrx makes, tests, inspects, signs and verifies semantic rule packs (.klrx).

usage: klrx COMMAND [arguments] [options]

commands:
${table(Object.entries(commands).map(([name, { summary }]) => [name, summary]))}

  klrx COMMAND --help   its arguments and options, with examples
  klrx --version        the version

Results are printed on standard output, everything else on standard error.
exit status: 0 done, 1 the answer is no, 2 wrong usage
`;
}
