export { Bridge } from './bridge.js';
export type {
  BridgeEvent,
  BridgeEvents,
  BridgeOptions,
  EventHandler,
  NativeReport,
  Unanswered,
} from './bridge.js';
export { BridgeError } from './calls.js';
export type { Answer, Answers, CallOptions, MayStayOpen, Success } from './calls.js';
export * from './protocol.js';
export { simulator } from './simulator.js';
export { injectedObject, webViewHandler, whicheverIsThere } from './transports.js';
export type { BridgeState, Receiver, Transport } from './transport.js';
