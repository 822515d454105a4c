// The protocol as TypeScript: what a page sends, what it gets back and what it hears.

const simple = { text: 'string', integer: 'number', number: 'number', boolean: 'boolean' };

export function types({ commands, events }, codes) {
  const records = new Map();
  collectRecords(
    [...commands.flatMap(({ result }) => result), ...events.flatMap(({ payload }) => payload)],
    records,
  );
  return `// Made by scripts/make-reference.mjs from the router's tables: don't edit it.

import type { Answers, CallOptions, MayStayOpen, Success } from './calls.js';

${[...records].map(([name, members]) => record(name, members)).join('\n')}
/** What each command takes and gives; its method says what it does. */
export interface Commands {
${commands.map(command).join('')}}
export type CommandName = keyof Commands;

/** The codes with which the router and the engines fail; an engine may have others. */
export type FailureCode =
${failureCodes(commands, codes)};

/** The names of all commands, with spaces between. */
export const commandNames =
${names(commands)};

/** Every command as a method. */
export interface Methods {
${commands.map(method).join('')}}

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

function command({ name, answered, params, result, errors }) {
  return (
    `  ${name}: {\n` +
    `    params: ${object(params, '    ', param)};\n` +
    `    result: ${result.length > 0 ? object(result, '    ', resultField) : 'Success'};\n` +
    `    answered: '${answered}';\n` +
    `    errorCode: ${errorCodes(errors)};\n` +
    '  };\n'
  );
}

function method({ name, about, unansweredWhen, answeredAgainWhen, answered, params, errors }) {
  const paragraphs = [about];
  if (unansweredWhen) paragraphs.push(`It stays unanswered when ${unansweredWhen}.`);
  if (answeredAgainWhen) paragraphs.push(`It is answered more than once when ${answeredAgainWhen}.`);
  for (const { module, code, text, when } of errors)
    paragraphs.push(
      `@throws {BridgeError} ${code ?? 'another code'} (${module})${text ? `, "${text}"` : ''}: ${when}`,
    );
  const given = answered === 'many' ? 'Answers' : unansweredWhen ? 'MayStayOpen' : 'Promise';
  const optional = params.some(({ required }) => required) ? '' : '?';
  return (
    block(paragraphs, '  ') +
    `  ${name}(\n` +
    `    params${optional}: Commands['${name}']['params'],\n` +
    '    options?: CallOptions,\n' +
    `  ): ${given}<Commands['${name}']['result']>;\n`
  );
}

function names(commands) {
  const lines = filled(commands.map(({ name }) => name).join(' '), '  ');
  return lines.map((line, at) => `  '${line}${at < lines.length - 1 ? ` ' +` : `'`}`).join('\n');
}

function event({ name, about, periodic, payload }) {
  const words = periodic ? `${about} It comes again and again.` : about;
  return comment(words, '  ') + `  ${name}: ${object(payload, '  ', resultField)};\n`;
}

function failureCodes(commands, engineCodes) {
  const all = [...commands.flatMap(({ errors }) => errors), ...engineCodes].map(({ code }) => code);
  const failures = [...new Set(all)].filter((code) => code < 0).sort((a, b) => b - a);
  return filled(failures.join(' | '), '  ').map((line) => `  ${line}`).join('\n');
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
  const lines = filled(text, margin);
  if (lines.length === 1) return `${margin}/** ${lines[0]} */\n`;
  return `${margin}/**\n${lines.map((line) => `${margin} * ${line}\n`).join('')}${margin} */\n`;
}

/** A comment of several paragraphs. */
function block(paragraphs, margin) {
  if (paragraphs.length === 1) return comment(paragraphs[0], margin);
  const lines = paragraphs.flatMap((text) => filled(text, margin));
  return `${margin}/**\n${lines.map((line) => `${margin} * ${line}\n`).join('')}${margin} */\n`;
}

function filled(text, margin) {
  const lines = [''];
  for (const word of text.replaceAll('*/', '* /').split(' ')) {
    if (margin.length + lines.at(-1).length + word.length > 94) lines.push('');
    lines[lines.length - 1] += (lines.at(-1) ? ' ' : '') + word;
  }
  return lines;
}
