// What the tools can do with a row of the time line.

import { rowActions } from '../timeline/rowView';
import type { Workbench } from '../workbench';
import { eventNamed } from './protocol';
import { toolboxOf } from './toolbox';

export function addRowActions(workbench: Workbench): void {
  rowActions.push(
    {
      title: 'Send again',
      fits: ({ kind }) => kind === 'command',
      run: (phone, { text }) => toolboxOf(phone).sendCommand(text),
    },
    {
      title: 'Edit and send',
      fits: ({ kind }) => kind === 'command',
      run: (phone, { text }) => {
        toolboxOf(phone).edit(text);
        workbench.showPage(phone, 'Send');
      },
    },
    {
      title: 'Edit and fire',
      fits: ({ step }) => firedEvent(step) !== undefined,
      run: (phone, { step }) => {
        const { event, args } = firedEvent(step)!;
        toolboxOf(phone).editEvent(event, args);
        workbench.showPage(phone, 'Fire');
      },
    },
  );
}

/** An event of the engine with its arguments, as a step of a scenario tells it. */
function firedEvent(step: object | undefined): { event: string; args: unknown[] } | undefined {
  const { event, args = [] } = (step ?? {}) as { event?: unknown; args?: unknown };
  if (typeof event !== 'string' || !eventNamed(event)?.arguments || !Array.isArray(args)) return undefined;
  return { event, args };
}
