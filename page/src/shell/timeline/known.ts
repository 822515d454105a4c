// What the protocol says of commands and events.

const periodicEvents = new Set(['onUserVoiceVolume', 'onNetworkQuality', 'onStatistics']);

/** Whether an event comes again and again. */
export const isPeriodic = (event: string): boolean => periodicEvents.has(event);

/** When a command is never answered, to follow "when"; nothing where it always is. */
export const unansweredWhen = (_command: string): string | undefined => undefined;
