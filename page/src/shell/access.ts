// What the simulator gives phones for: the token of the address that it printed. A window without one
// in its address has that of an earlier window of this browser.

import { signal } from '@preact/signals';
import { keep, recall } from '../storage';

/** The key of the token in the window's address. */
export const tokenKey = 'token';
const keptName = 'vemo.token';
const token = new URLSearchParams(location.search).get(tokenKey) ?? recall('localStorage', keptName) ?? '';
const path = `/phone?token=${encodeURIComponent(token)}`;

/** Why this window gets no phones; nothing while it does. */
export const refusal = signal<string | undefined>(undefined);

/** A new phone in the simulator. */
export function openPhone(): WebSocket {
  return new WebSocket(`ws://${location.host}${path}`);
}

/** A phone was had: the token is the simulator's. */
export function wasLetIn(): void {
  keep('localStorage', keptName, token);
  refusal.value = undefined;
}

const patienceMs = 3000;
const upgradeRequired = 426;

/**
 * A phone could not be had, or is gone; the simulator is asked why, as the browser does not tell. Gives
 * its words, empty where it would give a phone now; nothing where it does not answer.
 */
export async function askForRefusal(): Promise<string | undefined> {
  try {
    const answer = await fetch(path, { signal: AbortSignal.timeout(patienceMs) });
    if (answer.status === 403)
      refusal.value = 'This address lacks the simulator’s token. Open the address that it printed when it started.';
    return answer.status === upgradeRequired ? '' : (await answer.text()).trimEnd();
  } catch {
    return undefined;
  }
}
