// The profile in the address: what can be used is, and the rest is named.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { source } from './source.mjs';

const { networkNamed, networks, pageQuery, profileOf } = await source('shell/tools/profile.ts');

test('every key', () => {
  const { profile, problems } = profileOf(
    '?os=12&camera=denied&microphone=allowed&net=bad&app=Night+school&cameraText=So&microphoneText=Said' +
      '&lang=ZH-cn&dark=yes&text=150&rotation=landscape&device=tablet&user=Ada%20L&room=101&role=audience',
  );
  assert.deepEqual(problems, []);
  assert.deepEqual(profile, {
    settings: { os: '12.0.0', camera: 'denied', microphone: 'authorized' },
    bundle: {
      CFBundleName: 'Night school',
      NSCameraUsageDescription: 'So',
      NSMicrophoneUsageDescription: 'Said',
    },
    network: networks.find(({ name }) => name === 'bad'),
    language: 'zh-CN',
    dark: true,
    textSize: 150,
    rotation: 'landscape',
    device: 'tablet',
    user: 'Ada L',
    room: '101',
    role: 'audience',
  });
});

test('nothing is said by an empty query', () => {
  assert.deepEqual(profileOf(''), { profile: { settings: {}, bundle: {} }, problems: [] });
});

test('each value that can’t be used is named, and the rest is used', () => {
  const bad = {
    os: 'new',
    camera: 'no',
    net: 'fine',
    lang: '!!',
    dark: 'maybe',
    text: '20',
    rotation: 'up',
    device: 'watch',
    user: '',
    room: '-1',
    role: 'teacher',
    constructor: 'x',
  };
  for (const [name, value] of Object.entries(bad)) {
    const { profile, problems } = profileOf(`?${name}=${value}&microphone=denied`);
    assert.equal(problems.length, 1, name);
    assert.ok(problems[0].startsWith(`“${name}`), problems[0]);
    assert.deepEqual(profile, { settings: { microphone: 'denied' }, bundle: {} }, name);
  }
  assert.match(profileOf('?net=fine').problems[0], /it may be good, slow, weak, lossy, bad, offline\.$/);
  assert.match(profileOf('?room=4294967296').problems[0], /up to 4294967295/);
  assert.match(profileOf('?camara=denied').problems[0], /Did you mean “camera”\?$/);
});

test('keys of others are left alone', () => {
  assert.deepEqual(profileOf('?phones=2', ['phones']).problems, []);
});

test('what the page is given', () => {
  assert.equal(String(pageQuery(profileOf('?os=12').profile)), '');
  const { profile } = profileOf('?user=A%26B&room=7&lang=de');
  assert.equal(String(pageQuery(profile)), 'user=A%26B&room=7&lang=de');
});

test('networks by name', () => {
  assert.equal(networkNamed({ delay: 600, upLoss: 35, downLoss: 35 }, false).name, 'bad');
  assert.equal(networkNamed({ delay: 600, upLoss: 35, downLoss: 35 }, true).name, 'offline');
  assert.equal(networkNamed({ delay: 601, upLoss: 35, downLoss: 35 }, false), undefined);
});
