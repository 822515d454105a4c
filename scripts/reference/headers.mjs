// What is read from headers of bridge/: the codes that the engines report, and the notifications of
// the broadcast extension.

const constant = /^inline constexpr std::int\d+_t k\w+ = (-?\d+);\s*\/\/\/< (.*)$/;

/** The codes of `text`, the header: { code, about, where } each, in order. */
export function engineCodes(text) {
  const codes = [];
  let where = '';
  for (const line of text.split('\n')) {
    const group = /^\/\/ (.*)$/.exec(line);
    if (group) where = group[1];
    const found = constant.exec(line);
    if (found) codes.push({ code: Number(found[1]), about: found[2], where });
    else if (line.includes('constexpr')) throw new Error(`nothing is said of this code: ${line}`);
  }
  return codes;
}

/** The notifications of `text`, the header: the name of each, by the word that a page hears. */
export function broadcastNotifications(text) {
  const value = (constant) => new RegExp(` ${constant} = "(.*)";`).exec(text)?.[1];
  const all = [...text.matchAll(/\{"(\w+)", (k\w+)\}/g)].map(([, word, name]) => [word, value(name)]);
  if (all.length === 0 || all.some(([, name]) => !name))
    throw new Error('the notifications of the broadcast extension are not found');
  return Object.fromEntries(all);
}
