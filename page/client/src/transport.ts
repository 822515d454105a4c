// What carries a page's messages to the application around it, and back.

/** Whether the application answers: `stopped` once it is gone. */
export type BridgeState = 'connecting' | 'ready' | 'stopped';

/** One end of the bridge, for a transport. */
export interface Receiver {
  /** Takes an answer. */
  onReply(envelope: ReplyEnvelope): void;
  /** Takes an event. */
  onEvent(envelope: EventEnvelope): void;
  /** Takes a report. */
  onReport(envelope: ReportEnvelope): void;
  /** The application is there, or gone. Not before the transport has returned. */
  onState(state: 'ready' | 'stopped'): void;
}

/**
 * Connects with an application that knows nothing of earlier connections, and returns what hands
 * it a page message; that is called only while the application is there. The application answers
 * by scripts that call `vemoBridge.onReply`, `onEvent` and `onReport`, or a transport calls the
 * receiver itself.
 */
export type Transport = (receiver: Receiver) => (text: string) => void;

export interface ReplyEnvelope {
  head: { cbid: string };
  error?: { module: string; errcode: number; errmsg: string };
  retval?: unknown;
}
export interface EventEnvelope {
  head: { action: string };
  retval?: unknown;
}
export interface ReportEnvelope {
  head: { action: string };
  params: unknown;
}
