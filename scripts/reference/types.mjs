// The protocol as TypeScript: what a page sends, what it gets back and what it hears.

const simple = { text: 'string', integer: 'number', number: 'number', boolean: 'boolean' };

export function types({ commands, events }) {
  const records = new Map();
  collectRecords(
    [...commands.flatMap(({ result }) => result), ...events.flatMap(({ payload }) => payload)],
    records,
  );
  return `// Made by scripts/make-reference.mjs from the router's tables: don't edit it.

${[...records].map(([name, members]) => record(name, members)).join('\n')}
/** The commands that a page can send. */
export interface Commands {
${commands.map(command).join('')}}
export type CommandName = keyof Commands;

/** The events that a page can register for, each with its payload. */
export interface Events {
${events.map(event).join('')}}
export type EventName = keyof Events;
`;
}

function collectRecords(fields, records) {
  for (const field of fields) {
    if (!field.members) continue;
    collectRecords(field.members, records);
    if (field.record) records.set(field.record, field.members);
  }
}

function record(name, members) {
  // A type, not an interface: a page may then take it for any JSON object.
  return `export type ${name} = {\n${members.map((member) => resultField(member, '  ')).join('')}};\n`;
}

function command({ name, about, unansweredWhen, answeredAgainWhen, answered, params, result, errors }) {
  const sentences = [
    about,
    unansweredWhen && `It stays unanswered when ${unansweredWhen}.`,
    answeredAgainWhen && `It is answered more than once when ${answeredAgainWhen}.`,
  ];
  const words = sentences.filter(Boolean).join(' ');
  return (
    comment(words, '  ') +
    `  ${name}: {\n` +
    `    params: ${object(params, '    ', param)};\n` +
    `    result: ${object(result, '    ', resultField)};\n` +
    `    answered: '${answered}';\n` +
    `    errorCode: ${errorCodes(errors)};\n` +
    '  };\n'
  );
}

function event({ name, about, periodic, payload }) {
  const words = periodic ? `${about} It comes again and again.` : about;
  return comment(words, '  ') + `  ${name}: ${object(payload, '  ', resultField)};\n`;
}

/** An error without a code of its own carries one of the engine's. */
function errorCodes(errors) {
  const codes = [...new Set(errors.map(({ code }) => code))].sort((a, b) => b - a);
  if (codes.length === 0) return 'never';
  return codes.includes(null) ? 'number' : codes.join(' | ');
}

function object(fields, margin, field) {
  if (fields.length === 0) return 'Record<string, never>';
  return `{\n${fields.map((one) => field(one, `${margin}  `)).join('')}${margin}}`;
}

function param(field, margin) {
  const { name, required, of } = field;
  const words = [meaning(field)];
  if (field.min !== undefined) words.push(`From ${field.min} to ${field.max}.`);
  if (!required && field.default !== undefined)
    words.push(`Default: ${JSON.stringify(field.default)}.`);
  if (of) words.push(`Of the record ${of}.`);
  return (
    comment(words.filter(Boolean).join(' '), margin) +
    `${margin}${name}${required ? '' : '?'}: ${typeOf(field, margin, param)};\n`
  );
}

function resultField(field, margin) {
  return (
    comment(meaning(field), margin) +
    `${margin}${field.name}${field.mayBeAbsent ? '?' : ''}: ${typeOf(field, margin, resultField)};\n`
  );
}

function typeOf(field, margin, member) {
  if (field.orText)
    return `${typeOf({ ...field, orText: undefined }, margin, member)} | '${field.orText}'`;
  if (simple[field.type]) return simple[field.type];
  const inside =
    field.record ?? (field.members ? object(field.members, margin, member) : undefined);
  if (field.type === 'list') return `${inside ?? 'unknown'}[]`;
  return inside ?? 'Record<string, unknown>';
}

function meaning({ about, unit }) {
  const sentence = about ? `${about[0].toUpperCase()}${about.slice(1)}.` : '';
  return [sentence, unit && `In ${unit}.`].filter(Boolean).join(' ');
}

function comment(text, margin) {
  if (!text) return '';
  const words = text.replaceAll('*/', '* /').split(' ');
  const lines = [''];
  for (const word of words) {
    if (margin.length + lines.at(-1).length + word.length > 94) lines.push('');
    lines[lines.length - 1] += (lines.at(-1) ? ' ' : '') + word;
  }
  if (lines.length === 1) return `${margin}/** ${lines[0]} */\n`;
  return `${margin}/**\n${lines.map((line) => `${margin} * ${line}\n`).join('')}${margin} */\n`;
}
