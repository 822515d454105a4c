// What is told of a saved session: the times that its file knows, and none that it does not.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { source } from './source.mjs';

const { Session, SessionError } = await source('shell/session/session.ts');
const { rowAsJson } = await source('shell/timeline/exports.ts');

test('each row of a recording has the time that was noted, of a command until its answer, too', () => {
  const { timeline } = Session.read(
    'it.vemorec',
    [
      '{"vemorec":2,"program":"0.1.0","whole":true}',
      '{"step":{"command":"enterRoom","as":"m1"},"n":1,"at":1700000000000,"thread":"main"}',
      '{"effect":{"effect":"engine","call":"enterRoom","args":[]},"n":1,"at":1700000000000,"thread":"main"}',
      '{"step":{"event":"onEnterRoom","args":[120]},"n":2,"at":1700000000100,"thread":"engine"}',
      '{"task":{"drain":1},"n":3,"by":2,"at":1700000000250,"thread":"main"}',
      '{"effect":{"effect":"reply","item":"m1","action":"enterRoom"},"n":3,"at":1700000000250,"thread":"main"}',
      '{"end":true}\n',
    ].join('\n'),
  );
  const [command, event] = timeline.rows;
  assert.deepEqual([command.at, event.at], [1700000000000, 1700000000100]);
  assert.equal(command.beneath[0].at, 1700000000000);
  assert.equal(command.answers[0].at, 1700000000250);
  assert.equal(command.answers[0].ticks - command.ticks, 250);
});

test('a scenario knows no times, nor does a recording whose line has none', () => {
  const scenario = '{"command":"initSDK","expect":[{"effect":"reply","action":"initSDK"}]}\n';
  const recording = '{"vemorec":1,"whole":true}\n{"step":{"message":"x"},"n":1,"thread":"main"}\n';
  for (const text of [scenario, recording]) {
    const [row] = Session.read('it', text).timeline.rows;
    for (const one of [row, ...(row.beneath ?? [])]) {
      assert.deepEqual([one.at, one.ticks], [null, null]);
      assert.equal('at' in JSON.parse(rowAsJson(one, true)), false);
    }
  }
});

test('an answer that names no command stands beneath the step that it comes of', () => {
  const steps = [
    '{"command":"initSDK","expect":[{"effect":"reply","action":"initSDK"}]}',
    '{"command":"startLocalAudio"}',
    '{"access":false,"expect":[{"effect":"reply","error":{"errcode":-1317}}]}\n',
  ];
  const [init, , access] = Session.read('it.jsonl', steps.join('\n')).timeline.rows;
  assert.deepEqual([init.answers.length, access.answers?.length], [1, 1]);
});

test('a line whose step or effect is no object is named as damaged', () => {
  const header = '{"vemorec":2,"whole":true}';
  const step = '{"step":{"message":"x"},"n":1,"at":1,"thread":"main"}';
  const command = '{"command":"initSDK"}';
  const damaged = (text, line) =>
    assert.throws(
      () => Session.read('it', text),
      (error) => error instanceof SessionError && error.message.startsWith(`it is damaged: line ${line} `),
      text,
    );
  for (const value of ['"text"', '5', 'true', '[{"message":"x"}]', 'null', '""']) {
    damaged(`${header}\n${step}\n{"step":${value},"n":2}\n${step}\n`, 3);
    damaged(`${header}\n${step}\n{"effect":${value},"n":1}\n${step}\n`, 3);
    damaged(`${header}\n{"step":{"device":${value}},"n":1}\n${step}\n`, 2);
    damaged(`${command}\n{"command":"initSDK","expect":[${value}]}\n`, 2);
    if (!value.startsWith('[')) damaged(`${command}\n{"command":"initSDK","expect":${value}}\n`, 2);
  }
});

test('a time that no clock shows is none', () => {
  for (const at of ['1e300', '-1e300', '1e999', '8.65e15', '"noon"', 'true']) {
    const text = `{"vemorec":1,"whole":true}\n{"step":{"message":"x"},"n":1,"at":${at},"thread":"main"}\n`;
    const [row] = Session.read('it', text).timeline.rows;
    assert.equal(row.at, null, at);
    assert.equal('at' in JSON.parse(rowAsJson(row, true)), false);
  }
});

test('a scenario with a table is not called damaged', () => {
  assert.throws(() => Session.read('it', '{"command":"initSDK"}\n{"rows":"switchRole"}\n["ok",{"role":20}]\n'), {
    message: 'it has a table of messages from line 2 on; only vemo-replay reads those.',
  });
});
