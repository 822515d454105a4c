// When a command is never answered at all, in the protocol's words.

import { commands } from '../tools/protocol';

export const unansweredWhen: Record<string, string | undefined> = Object.fromEntries(
  commands.map((command) => [command.name, command.unansweredWhen]),
);
