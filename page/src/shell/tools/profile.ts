// How a phone and its page are to be from the start, as the address says it:
// ?os=12&camera=denied&net=bad&user=Ada&room=101

import type { Network, PhoneSettings } from '../frames';
import { similar } from './similar';

export interface NamedNetwork {
  name: string;
  title: string;
  network: Network;
  cutOff: boolean;
}

export const goodNetwork: Network = { delay: 25, upLoss: 0, downLoss: 0 };
export const networks: readonly NamedNetwork[] = [
  { name: 'good', title: 'Good', network: goodNetwork, cutOff: false },
  { name: 'slow', title: 'Slow', network: { delay: 400, upLoss: 0, downLoss: 0 }, cutOff: false },
  { name: 'weak', title: 'Weak', network: { delay: 180, upLoss: 8, downLoss: 8 }, cutOff: false },
  { name: 'lossy', title: 'Lossy', network: { delay: 60, upLoss: 25, downLoss: 25 }, cutOff: false },
  { name: 'bad', title: 'Bad', network: { delay: 600, upLoss: 35, downLoss: 35 }, cutOff: false },
  { name: 'offline', title: 'Offline', network: goodNetwork, cutOff: true },
];

/** The name of how the network is; nothing when it is like none of the named ones. */
export function networkNamed(network: Network, cutOff: boolean): NamedNetwork | undefined {
  if (cutOff) return networks.find((one) => one.cutOff);
  return networks.find(
    (one) =>
      !one.cutOff &&
      one.network.delay === network.delay &&
      one.network.upLoss === network.upLoss &&
      one.network.downLoss === network.downLoss,
  );
}

/** What is left out stays as it is. */
export interface Profile {
  settings: Partial<PhoneSettings>;
  /** Added to the texts that the phone has. */
  bundle: Record<string, string>;
  network?: NamedNetwork | undefined;
  /** A language such as `zh-CN`, for the page. */
  language?: string | undefined;
  dark?: boolean | undefined;
  /** Of the page, in percent. */
  textSize?: number | undefined;
  rotation?: 'portrait' | 'landscape' | undefined;
  device?: 'phone' | 'tablet' | undefined;
  /** For the page's form. */
  user?: string | undefined;
  room?: string | undefined;
  role?: 'stage' | 'audience' | undefined;
}

const permissions: Record<string, string> = {
  ask: 'notDetermined',
  allowed: 'authorized',
  denied: 'denied',
  restricted: 'restricted',
};

type Read = (value: string, profile: Profile) => boolean;

const oneOf =
  <Value>(values: Record<string, Value>, set: (profile: Profile, value: Value) => void): Read =>
  (value, profile) => {
    if (!Object.keys(values).includes(value)) return false;
    set(profile, values[value]!);
    return true;
  };
const yesOrNo = { '1': true, yes: true, true: true, '0': false, no: false, false: false };
const text =
  (set: (profile: Profile, value: string) => void): Read =>
  (value, profile) => {
    if (value.length === 0 || value.length > 100) return false;
    set(profile, value);
    return true;
  };

interface Key {
  read: Read;
  /** What it may be, in words. */
  values: string;
}
const listed = (values: object) => Object.keys(values).join(', ');
const permission = (media: 'camera' | 'microphone'): Key => ({
  read: oneOf(permissions, ({ settings }, value) => (settings[media] = value)),
  values: listed(permissions),
});
const bundle = (name: string): Key => ({
  read: text(({ bundle: texts }, value) => (texts[name] = value)),
  values: 'a text',
});
const byName = Object.fromEntries(networks.map((one) => [one.name, one]));
const rotations = { portrait: 'portrait', landscape: 'landscape' } as const;
const devices = { phone: 'phone', tablet: 'tablet' } as const;
const roles = { stage: 'stage', audience: 'audience' } as const;

const keys: Record<string, Key> = {
  os: {
    read(value, { settings }) {
      if (!/^\d{1,4}(\.\d{1,4}){0,2}$/.test(value)) return false;
      settings.os = [...value.split('.'), '0', '0'].slice(0, 3).join('.');
      return true;
    },
    values: 'a version such as 12 or 11.4.1',
  },
  camera: permission('camera'),
  microphone: permission('microphone'),
  net: { read: oneOf(byName, (profile, value) => (profile.network = value)), values: listed(byName) },
  app: bundle('CFBundleName'),
  cameraText: bundle('NSCameraUsageDescription'),
  microphoneText: bundle('NSMicrophoneUsageDescription'),
  lang: {
    read(value, profile) {
      try {
        profile.language = Intl.getCanonicalLocales(value)[0]!;
        return true;
      } catch {
        return false;
      }
    },
    values: 'a language such as en or zh-CN',
  },
  dark: { read: oneOf(yesOrNo, (profile, value) => (profile.dark = value)), values: 'yes or no' },
  text: {
    read(value, profile) {
      const percent = Number(value);
      if (!Number.isInteger(percent) || percent < 50 || percent > 300) return false;
      profile.textSize = percent;
      return true;
    },
    values: 'a size from 50 to 300, in percent',
  },
  rotation: {
    read: oneOf(rotations, (profile, value) => (profile.rotation = value)),
    values: listed(rotations),
  },
  device: {
    read: oneOf(devices, (profile, value) => (profile.device = value)),
    values: listed(devices),
  },
  user: { read: text((profile, value) => (profile.user = value)), values: 'a name of up to 100 letters' },
  room: {
    read(value, profile) {
      if (!/^\d{1,10}$/.test(value) || Number(value) > 4294967295) return false;
      profile.room = value;
      return true;
    },
    values: 'a number up to 4294967295',
  },
  role: { read: oneOf(roles, (profile, value) => (profile.role = value)), values: listed(roles) },
};

/**
 * The profile that the query of an address gives, and a sentence for each part of it that can't
 * be used. Keys in `others` belong to somebody else.
 */
export function profileOf(
  query: string,
  others: readonly string[] = [],
): { profile: Profile; problems: string[] } {
  const profile: Profile = { settings: {}, bundle: {} };
  const problems: string[] = [];
  for (const [name, value] of new URLSearchParams(query)) {
    if (others.includes(name)) continue;
    const key = Object.keys(keys).includes(name) ? keys[name] : undefined;
    if (!key) {
      const meant = similar(name, Object.keys(keys));
      problems.push(
        `“${name.slice(0, 40)}” says nothing here.${meant === undefined ? '' : ` Did you mean “${meant}”?`}`,
      );
    } else if (!key.read(value, profile)) {
      problems.push(`“${name}=${value.slice(0, 40)}” can’t be used: it may be ${key.values}.`);
    }
  }
  return { profile, problems };
}

/** What of a profile the page itself is given, in the query of its own address. */
export function pageQuery(profile: Pick<Profile, 'user' | 'room' | 'role' | 'language'>): URLSearchParams {
  const { user, room, role, language } = profile;
  const query = new URLSearchParams();
  for (const [name, value] of Object.entries({ user, room, role, lang: language }))
    if (value !== undefined) query.set(name, value);
  return query;
}
