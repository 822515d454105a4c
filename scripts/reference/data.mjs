// The protocol as the simulator's tools read it: what vemo-protocol prints, with an example of
// each command's params and of the arguments with which the engine tells each event, the codes that
// the engines report, and the notifications of the broadcast extension.

export function data({ commands, events }, examples, codes, notifications) {
  return `{
"commands": ${lines(commands.map((command) => withExample(command, examples)))},
"events": ${lines(events.map((event) => ({ ...event, arguments: examples.arguments[event.name] ?? null })))},
"engineCodes": ${lines(codes)},
"notifications": ${JSON.stringify(notifications)}
}
`;
}

function withExample(command, examples) {
  return { ...command, example: examples.commands.get(command.name).message.params ?? null };
}

/** A line each, so that changes can be read. */
function lines(list) {
  return `[\n${list.map((one) => JSON.stringify(one)).join(',\n')}\n]`;
}
