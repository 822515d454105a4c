// What the panel shows and saves of texts that hold signatures.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { source } from './source.mjs';

const { withoutSecrets } = await source('shell/secrets.ts');

test('signatures are masked however their key is written', () => {
  const shown = (text) => assert.doesNotMatch(withoutSecrets(text), /secret/, text);
  for (const key of ['userSig', 'user\\u0053ig', '\\u0075\\u0073\\u0065\\u0072\\u0053\\u0069\\u0067']) {
    const text = `{"params":{"${key}":"secret"}}`;
    shown(text);
    shown(JSON.stringify({ info: text }));
    shown(JSON.stringify({ info: JSON.stringify({ more: text }) }));
    shown(`onReply(${text})`);
    shown(text.slice(0, -3));
    shown(JSON.stringify(text).slice(0, -5));
  }
  shown('{"userSig":["secret"]}');
});

test('what holds no signature is shown as it is, and so deep that it can not be read', () => {
  const harmless = '{ "a" : "user\\u0053" }';
  assert.equal(withoutSecrets(harmless), harmless);
  const deep = `${'['.repeat(100_000)}{"userSig":"secret"}${']'.repeat(100_000)}`;
  assert.doesNotMatch(withoutSecrets(deep), /secret/);
});
