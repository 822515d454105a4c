// What the application around a page offers it. In the simulator the frame around the
// page plays the application.

/** Whether the application answers: `stopped` once it is gone. */
export type HostState = 'connecting' | 'ready' | 'stopped';

/** The page's own end of the bridge. */
export interface HostConnection {
  /** Hands one page message to the application; lost when it is gone. */
  postMessage(text: string): void;
}

export interface Host {
  /**
   * Connects `page` with a router of its own, ending an earlier connection. From then on
   * the application runs its scripts in `page`. `onState` is called at each change.
   */
  attach(page: Window, onState: (state: HostState) => void): HostConnection;
}

declare global {
  interface Window {
    vemoHost?: Host;
  }
}

/** The host of `page`: its own, or that of the frame around it. */
export function findHost(page: Window): Host | undefined {
  return page.vemoHost ?? page.parent.vemoHost;
}
