// Time lines as texts: JSON Lines of all that is known, and scenarios that can be replayed.

import { withoutSecrets } from '../secrets';
import { member, parsed } from './texts';
import type { Row, Timeline } from './timeline';

/** One row as a JSON object in one line. */
export function rowAsJson(row: Row, withSecrets: boolean): string {
  const { id, at, kind, thread, title, text, cause, cbid, waiting, failed, periodic, remarks } = row;
  const value = parsed(text);
  const line = JSON.stringify({
    id,
    ...(at !== null && { at: new Date(at).toISOString() }),
    kind,
    thread,
    title,
    ...(cause && { cause: cause.id }),
    ...(cbid !== undefined && { cbid }),
    ...(waiting && { waiting }),
    ...(failed && { failed }),
    ...(periodic && { periodic }),
    ...(remarks && { remarks }),
    ...(text !== '' && (value === undefined ? { text } : { data: value })),
  });
  return withSecrets ? line : withoutSecrets(line);
}

/** All rows, a line each, in the order in which they came. */
export function jsonLines(timeline: Timeline, withSecrets: boolean): string {
  return inOrder(timeline)
    .map((row) => `${rowAsJson(row, withSecrets)}\n`)
    .join('');
}

/**
 * The session as a scenario, which vemo-replay plays: all that reached the router, as far as
 * it is known. Each page that connected got a new router.
 */
export function scenario(timeline: Timeline, withSecrets: boolean): string {
  const lines: string[] = [];
  for (const [at, rows] of sessions(inOrder(timeline)).entries()) {
    if (at > 0) lines.push('{"free":true}', '{"new":true}');
    for (const step of stepsOf(rows)) {
      const line = JSON.stringify(step);
      lines.push(withSecrets ? line : withoutSecrets(line));
    }
  }
  return lines.map((line) => `${line}\n`).join('');
}

function inOrder(timeline: Timeline): Row[] {
  const rows: Row[] = [];
  const take = (row: Row) => {
    rows.push(row);
    row.answers?.forEach(take);
    row.beneath?.forEach(take);
  };
  timeline.rows.forEach(take);
  return rows.sort((one, other) => one.id - other.id);
}

// The rows of each page in turn.
function sessions(rows: Row[]): Row[][] {
  const all: Row[][] = [[]];
  let begun = false;
  for (const row of rows) {
    if (row.kind === 'connection') {
      if (begun) all.push([]);
      begun = true;
    }
    all[all.length - 1]!.push(row);
  }
  return all;
}

// Where the router's notes are there, they have everything; else it is what the page and the
// phone's user did.
function stepsOf(rows: Row[]): object[] {
  const noted = rows.filter(({ stepNumber }) => stepNumber > 0);
  if (noted.length === 0)
    return rows
      .map((row) => (row.kind === 'command' ? stepOfMessage(row.text) : row.step))
      .filter((step): step is object => step !== undefined);
  // What the device answers within a step is set before it.
  const place = ({ cause, stepNumber }: Row) => (cause ? cause.stepNumber - 0.5 : stepNumber);
  noted.sort((one, other) => place(one) - place(other) || one.stepNumber - other.stepNumber);
  return noted.map((row) =>
    row.kind === 'command' ? { ...row.step, ...stepOfMessage(row.text) } : row.step!,
  );
}

function stepOfMessage(text: string): object {
  const message = parsed(text);
  const action = member(message, 'head', 'action');
  const params = member(message, 'params');
  const nativecb = member(message, 'nativecb');
  const isCommand =
    typeof action === 'string' &&
    (params === undefined || (typeof params === 'object' && params !== null && !Array.isArray(params))) &&
    (nativecb === undefined || typeof nativecb === 'string');
  return isCommand ? { command: action, params, nativecb } : { message: text };
}

const statuses = ['notDetermined', 'restricted', 'denied', 'authorized'];

/** The step of a scenario that changes its device as the phone's settings have changed. */
export function deviceStep(settings: Record<string, unknown>): object {
  const device = Object.entries(settings).map(([key, value]) =>
    key === 'camera' || key === 'microphone' ? [key, statuses.indexOf(String(value))] : [key, value],
  );
  return { device: Object.fromEntries(device) as object };
}
