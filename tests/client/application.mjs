// An application that a test plays by hand.

import { Bridge } from '../../page/client/dist/index.js';

/** Lets everything go on that is ready to. */
export const turn = () => new Promise((resolve) => setImmediate(resolve));

export class Application {
  /** The messages that the page has sent, as it wrote them. */
  sent = [];
  connections = 0;

  transport = (receiver) => {
    ++this.connections;
    this.receiver = receiver;
    return (text) => this.sent.push(JSON.parse(text));
  };

  /** A bridge with an application that is there. */
  async connected(options) {
    const bridge = new Bridge({ transport: this.transport, ...options });
    this.receiver.onState('ready');
    return bridge;
  }

  get actions() {
    return this.sent.map(({ head }) => head.action);
  }

  /** The latest message of a command. */
  message(action) {
    return this.sent.findLast(({ head }) => head.action === action);
  }

  answer(action, answer = {}) {
    this.receiver.onReply({ head: { cbid: this.message(action).cbid }, ...answer });
  }

  happen(action, retval) {
    this.receiver.onEvent({ head: { module: 'kobucb', action }, retval });
  }
}
