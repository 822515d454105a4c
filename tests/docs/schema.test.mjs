// docs/reference/protocol.schema.json describes what vemo-protocol prints, exactly.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';

// The validator is installed with the page's other packages.
const require = createRequire(new URL('../../page/package.json', import.meta.url));
const { default: Ajv } = require('ajv/dist/2020');

const schemaFile = new URL('../../docs/reference/protocol.schema.json', import.meta.url);
const isValid = new Ajv({ allErrors: true, allowUnionTypes: true }).compile(
  JSON.parse(readFileSync(schemaFile, 'utf8')),
);
const text = execFileSync(process.env.VEMO_PROTOCOL, { encoding: 'utf8' });

test('the document is as the schema says', () => {
  assert.ok(isValid(JSON.parse(text)), JSON.stringify(isValid.errors, null, 2));
});

test('every member says what it means', () => {
  const schema = JSON.parse(readFileSync(schemaFile, 'utf8'));
  const described = (part) =>
    part.description ?? schema.$defs[part.$ref?.replace('#/$defs/', '')]?.description;
  for (const [name, { properties = {} }] of Object.entries({ ...schema.$defs, document: schema })) {
    for (const [member, part] of Object.entries(properties)) {
      assert.ok(described(part), `${name}.${member} has no description`);
    }
  }
});

const breaks = {
  'a command without its meaning': (document) => delete document.commands[0].about,
  'a command with a further member': (document) => (document.commands[0].since = '1.0'),
  'a command that is answered in another way': (document) =>
    (document.commands[0].answered = 'never'),
  'a parameter of an unknown type': (document) => (document.commands[0].params[0].type = 'date'),
  'a member of an element with a further member': (document) =>
    (document.commands[0].params[0].members[0].since = '1.0'),
  'an error whose code is a text': (document) => (document.commands[0].errors[0].code = '-1'),
  'an event without a payload': (document) => delete document.events[0].payload,
  'a field with a further member': (document) => (document.events[0].payload[0].since = '1.0'),
  'a document without events': (document) => delete document.events,
};
for (const [what, damage] of Object.entries(breaks)) {
  test(`${what} is found`, () => {
    const document = JSON.parse(text);
    damage(document);
    assert.equal(isValid(document), false);
  });
}
