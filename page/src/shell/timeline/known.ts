// What the protocol says of commands and events.

import { commandNamed, eventNamed } from '../tools/protocol';

/** Whether an event comes again and again. */
export const isPeriodic = (event: string): boolean => eventNamed(event)?.periodic ?? false;

/** When a command is never answered, to follow "when"; nothing where it always is. */
export const unansweredWhen = (command: string): string | undefined => commandNamed(command)?.unansweredWhen;
