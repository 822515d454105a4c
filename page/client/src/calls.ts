/// <reference lib="es2018.asynciterable" preserve="true" />
// What a call of a command takes and gives.

export interface CallOptions {
  /**
   * How long to wait for an answer, for each where there are many (ms); then the call fails with
   * the reason "timeout". Without it, as the bridge was made, which is without end by default.
   */
  timeout?: number;
  /** Ends the waiting: the call fails with the signal's reason. The command is not taken back. */
  signal?: AbortSignal;
  /** The message's "nativecb"; only "switchRole" looks at it. */
  nativecb?: string;
}

/** What a command without a value gives. */
export interface Success {
  /** The text of the success, such as the version that "initSDK" tells; most have none. */
  text: string;
}

/** What `Bridge.send` gives. */
export interface Answer {
  /** The answer's "retval", if it has one. */
  value: unknown;
  /** The text of the success; most have none. */
  text: string;
}

/**
 * A promise that may stay open for ever: the protocol leaves some commands unanswered, and the
 * method says when. Give such a call a `timeout` or a `signal`.
 */
export interface MayStayOpen<Value> extends Promise<Value> {}

/**
 * The answers to one command, to be read once, with `for await`. Those that come before they are
 * asked for are kept. Breaking out of the loop ends the waiting; an error is thrown by it.
 */
export interface Answers<Value> extends AsyncIterableIterator<Value> {}

/** A command has failed. */
export class BridgeError extends Error {
  constructor(
    /** The command. */
    readonly command: string,
    /** The module that was at fault: "JS" or "KOBU"; empty without an answer. */
    readonly module: string,
    /** The code of the error, other than 0; 0 without an answer. */
    readonly code: number,
    /** The error in words. */
    readonly text: string,
    /**
     * "answered" with an error; "stopped": the application has stopped, or was connected anew;
     * "timeout": no answer came in time.
     */
    readonly reason: 'answered' | 'stopped' | 'timeout' = 'answered',
  ) {
    super(`${command}: ${text}${code ? ` (${module} ${code})` : ''}`);
    this.name = 'BridgeError';
  }
}
