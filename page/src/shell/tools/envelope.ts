// Page messages and the scripts that answer them, as far as they can be read.

/** A page message. */
export interface Message {
  text: string;
  action: string | undefined;
  /** Only a text is one: nothing else is answered. */
  cbid: string | undefined;
  /** The whole object; nothing when the text is none. */
  object: Record<string, unknown> | undefined;
}

export const readMessage = onceFor((text): Message => {
  const object = objectIn(text);
  return {
    text,
    object,
    action: textOf(objectOf(object?.['head'])?.['action']),
    cbid: textOf(object?.['cbid']),
  };
});

/** A call of a page function with one JSON object, which is what each script is. */
export interface ScriptCall {
  function: string;
  action: string | undefined;
  /** Of the command that it answers. */
  cbid: string | undefined;
  /** The error's code; nothing without an error record. */
  code: number | undefined;
  errorText: string | undefined;
  retval: Record<string, unknown> | undefined;
}

export const readScript = onceFor((script): ScriptCall | undefined => {
  const start = script.indexOf('(');
  if (start < 0) return undefined;
  const object = objectIn(script.slice(start + 1, script.lastIndexOf(')')));
  if (!object) return undefined;
  const head = objectOf(object['head']);
  const error = objectOf(object['error']);
  return {
    function: script.slice(0, start),
    action: textOf(head?.['action']),
    cbid: textOf(head?.['cbid']),
    code: typeof error?.['errcode'] === 'number' ? error['errcode'] : undefined,
    errorText: textOf(error?.['errmsg']),
    retval: objectOf(object['retval']),
  };
});

export function objectOf(value: unknown): Record<string, unknown> | undefined {
  return typeof value === 'object' && value !== null && !Array.isArray(value)
    ? (value as Record<string, unknown>)
    : undefined;
}

function objectIn(text: string): Record<string, unknown> | undefined {
  try {
    return objectOf(JSON.parse(text));
  } catch {
    return undefined;
  }
}

function textOf(value: unknown): string | undefined {
  return typeof value === 'string' ? value : undefined;
}

/** Several look at each text in turn: it is read once for all of them. */
function onceFor<Result>(read: (text: string) => Result): (text: string) => Result {
  let last: { text: string; result: Result } | undefined;
  return (text) => {
    if (last?.text !== text) last = { text, result: read(text) };
    return last.result;
  };
}
