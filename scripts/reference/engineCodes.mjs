// The codes that the engines report, as their header tells them.

const constant = /^inline constexpr std::int\d+_t k\w+ = (-?\d+);\s*\/\/\/< (.*)$/;

/** Of `text`, the header: { code, about, where } each, in order. */
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
