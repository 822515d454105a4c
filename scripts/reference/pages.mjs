// The reference as Markdown: an index, and a page for each subject.

const subjects = {
  engine_lifecycle: ['The engine', 'Making and releasing the engine, its log and its debug panel.'],
  event_routing: ['Registering for events', 'Which functions of the page hear of which events.'],
  room_control: ['Rooms', 'Entering and leaving a room, the own role, the connection, and errors.'],
  local_video: ['Own camera', 'The camera, how its picture is drawn, encoded and sent.'],
  local_audio: ['Own microphone and sound', 'The microphone, where sound is played, and volumes.'],
  remote_media: ['Other users', "Other users' pictures, screens and sound."],
  background_music: ['Music', 'Playing music beside the lesson.'],
  screen_sharing: ['Screen sharing', 'Capturing the own screen, and the broadcast extension.'],
  diagnostics: ['Diagnostics', 'Warnings, statistics, network quality, speed tests and reports.'],
};

const answeredWords = {
  once: 'At once',
  later: 'Later',
  many: 'Several times',
};

const scenarioFolder = '../../tests/scenarios';

/** The pages as [file name, text]. */
export function pages(protocol, examples, scenarios, codes) {
  const all = [...protocol.commands, ...protocol.events];
  const names = [...new Set(all.map(({ subject }) => subject))];
  const known = Object.keys(subjects);
  names.sort((a, b) => (known.indexOf(a) + 1 || 99) - (known.indexOf(b) + 1 || 99));
  return [
    ['README.md', index(protocol, names, examples.lesson, scenarios.common, codes)],
    ...names.map((subject) => [`${subject}.md`, page(subject, protocol, examples, scenarios)]),
  ];
}

const title = (subject) => subjects[subject]?.[0] ?? subject.replaceAll('_', ' ');
const lead = (subject) => subjects[subject]?.[1] ?? '';
const of = (list, subject) => list.filter((one) => one.subject === subject);
const anchor = (name) => name.toLowerCase();
const made =
  "<!-- Made by scripts/make-reference.mjs from the router's tables: don't edit it. -->\n";

function index({ commands, events }, names, lesson, commonScenarios, codes) {
  const rows = (list) =>
    list
      .map(
        ({ name, subject, about }) =>
          `| [\`${name}\`](${subject}.md#${anchor(name)}) | ${cell(firstSentence(about))} |`,
      )
      .join('\n');
  return `${made}
# Reference

What a page can send to the application, what it gets back, and what it hears. The same as JSON
is printed by \`vemo-protocol\`; [protocol.schema.json](protocol.schema.json) describes that, and
\`page/client/src/protocol.ts\` has it as TypeScript types.

| subject | |
|---|---|
${names.map((subject) => `| [${title(subject)}](${subject}.md) | ${lead(subject)} |`).join('\n')}

## A first lesson

A page sends each message by the way that the application gave it for that. What comes back are
calls of its functions: \`nativeReply\` stands for the one that the application chose for answers,
\`onNativeEvent\` is this page's own.

${lesson.map(lessonStep).join('\n')}
## Messages

A command is one JSON text:

\`\`\`json
{"head":{"module":"kobu","action":"setAudioRoute"},"params":{"route":1},"cbid":"7"}
\`\`\`

| member | meaning |
|---|---|
| \`head.action\` | the name of the command |
| \`head.module\` | \`"kobu"\` by custom; nothing looks at it |
| \`params\` | an object with the parameters; may be left out or null |
| \`cbid\` | a text of the page's choice, which the answer repeats; without it there is no answer |
| \`nativecb\` | a text; only [\`switchRole\`](room_control.md#switchrole) looks at it |

A text that is too large or too deep, names no action, or whose \`params\` are no object is answered
with code -1 and the text \`bad message\`, where its \`cbid\` can be found; a text that is no JSON
object never is, as it has none. A name that is no command is answered with \`unknown action\`.
Where memory is short, \`out of memory\` says that a command was not done, \`out of memory for the answer\`
that only its answer could not be made.

## Answers

The answer is handed to the function of the page that the application chose for answers:

\`\`\`json
{"head":{"module":"kobu","action":"setAudioRoute","cbid":"7"}}
{"head":{"module":"kobu","action":"setAudioRoute","cbid":"8"},"error":{"module":"JS","errcode":-1,"errmsg":"no route param"}}
\`\`\`

| member | when |
|---|---|
| \`head\` | always: \`"kobu"\`, the action of the message, and its \`cbid\` |
| \`error\` | a failure; and with code 0 a success of a command that is answered later, or that says so |
| \`retval\` | where the command has an answer's value |

A command is answered **at once**; or **later**, when the engine, the user or a download has
answered; or **several times**. Some may stay unanswered; each command says when.

### Error records

| member | meaning |
|---|---|
| \`module\` | \`JS\`: the message, the state or the system was at fault. \`KOBU\`: the engine, a device, a view or a download was |
| \`errcode\` | 0 success; -1 the message or a parameter, or the host has no view for the own picture, or the system is too old to start the broadcast extension; -2 no engine (for \`initSDK\`: there is one already), or what is asked for is not there, or the system is too old to capture the screen; -3 in no room; -1314 the camera and -1317 the microphone are not permitted; any other is the engine's or a download's |
| \`errmsg\` | says it in words, for people; may be empty on success |

## Events

A page registers for events with [\`registCallBacks\`](event_routing.md#registcallbacks). Each then
calls the named function with

\`\`\`json
{"head":{"module":"kobucb","action":"onEnterRoom"},"retval":{"userId":"teacher","elapsed":120}}
\`\`\`

Events for which the page has registered no function are dropped. Those marked *again and again*
come periodically, and few of them leave a record in the log. Code of the application hears of many
events too, by an operation of its \`VEMOKOBUEventListener\`.

## Reports

Beside the events, the function that [\`registReport\`](diagnostics.md#registreport) names is told when
the own camera and microphone go on and off:

\`\`\`json
{"head":{"module":"kobu","action":"onNativeReport"},"params":{"userId":"teacher","classId":"7","event":"enable_camera"}}
\`\`\`

\`event\` is \`enable_camera\`, \`disable_camera\`, \`enable_mic\` or \`disable_mic\`, or what code of the
application reports; \`classId\` is the room's number as a text, \`"0"\` outside a room, absent for the
room 4294967295; and \`userId\` is absent without an own user.

## Types

| type | what a command takes | what the page gets |
|---|---|---|
| integer | a number or a boolean, which counts as 0 or 1; what follows the point is cut off | a number |
| number | a number or a boolean | a number |
| boolean | a boolean, or a number, which is true unless it is 0 | \`true\` or \`false\` |
| text | a text; where *not empty* is said, an empty one counts as missing | a text |
| list, object | a JSON array, a JSON object | the same |

A parameter of another type counts as missing. Parameters that a command doesn't know are ignored.
An integer with a range takes its default when it lies outside.

Most integers have 32 bits. Beyond them a whole number wraps around, keeping its lowest 32 bits; one
with a fraction, or with more than 64 bits, becomes the least or the largest integer instead.

Parameters of a **record** (\`KOBUVideoEncParam\`, for one) are read together and more leniently: a
number or boolean may be written as a text (\`"15"\`, \`"true"\`), and a number serves as a text. If one
of them can't be read, none of them counts.

## The engine's numbers

What is told to be by the engine's numbers is passed on as it is, from the page to the engine or
back: what a number means, and which are taken, is the affair of the engine that the application
has. The simulated engine has these:

| where | numbers |
|---|---|
| \`route\` and \`fromRoute\` | see below; another is answered by \`onWarning\` with 1101 and not taken |
| \`reason\` of screen capture | always 0 |
| \`appScene\`, \`logLevel\`, \`showType\`, \`preference\`, \`controlMode\`, \`sensorMode\` | any; they change nothing |

The codes of failures and warnings, routes and reasons, which the engine of the desktop has too:

| where | code | meaning |
|---|---|---|
${codes.map(codeRow).join('\n')}

## Scenarios

Commands and events are held to what is said here by scenarios, files that are played against the
router ([scenarios.md](../scenarios.md)). Each names its own; these hold many at once:
${scenarioLinks(commonScenarios)}.

## List of commands

| command | what it does |
|---|---|
${rows(commands)}

## List of events

| event | when it comes |
|---|---|
${rows(events)}
`;
}

function lessonStep({ about, message, answers, scripts }) {
  const calls = [
    ...answers.map((answer) => ['nativeReply', answer]),
    ...scripts.map(({ function: name, argument }) => [name, argument]),
  ];
  const back = calls
    .map(([name, argument]) => `${name}(${pretty(argument, name.length + 2)})\n`)
    .join('');
  return `${about}\n\n${json([message])}\n\`\`\`js\n${back}\`\`\`\n`;
}

function page(subject, protocol, examples, scenarios) {
  const commands = of(protocol.commands, subject);
  const events = of(protocol.events, subject);
  const contents = (list) => list.map(({ name }) => `[\`${name}\`](#${anchor(name)})`).join(', ');
  return [
    made,
    `# ${title(subject)}\n`,
    `${lead(subject)} The [reference](README.md) says how messages, answers and events look, and what the\ntypes mean.\n`,
    ...(commands.length ? [`Commands: ${contents(commands)}\n`] : []),
    ...(events.length ? [`Events: ${contents(events)}\n`] : []),
    ...commands.map((one) => command(one, examples.commands.get(one.name), scenarios)),
    ...events.map((one) => event(one, examples.events.get(one.name), scenarios)),
  ].join('\n');
}

// ---- A command

function command(told, example, scenarios) {
  return [
    `## ${told.name}\n`,
    `${quoted(told.about)}\n`,
    needs(told.guard),
    parameters(told),
    answer(told),
    errors(told.errors),
    `**Example**\n`,
    json([example.message]),
    `${example.answers.length > 1 ? 'The answers:' : 'The answer:'}\n`,
    json(example.answers),
    heldBy(told.name, scenarios),
  ]
    .filter(Boolean)
    .join('\n');
}

function needs(guard) {
  if (guard === 'engine') return 'Needs the engine ([`initSDK`](engine_lifecycle.md#initsdk)).\n';
  if (guard === 'room')
    return 'Needs the engine, and a room that was entered ([`enterRoom`](room_control.md#enterroom)).\n';
  return 'Needs no engine.\n';
}

function parameters({ params, anyOf, anyTrue }) {
  if (params.length === 0) return 'It takes no parameters.\n';
  const needed = anyOf ?? anyTrue;
  const least = needed
    ? `\nAt least one of ${needed.map((name) => `\`${name}\``).join(', ')} must be ${anyOf ? 'given' : '\`true\`'}.\n`
    : '';
  return `**Parameters**\n\n${parameterTable(params)}${least}${ofRecords(params)}${elements(params)}`;
}

function parameterTable(params) {
  const rows = params.map((param) =>
    row(`\`${param.name}\``, typeWords(param), need(param), paramMeaning(param)),
  );
  return `| name | type | given | meaning |\n|---|---|---|---|\n${rows.join('\n')}\n`;
}

function need(param) {
  if (param.required) return '**required**';
  if (param.default !== undefined) return `\`${JSON.stringify(param.default)}\` by default`;
  return 'optional';
}

function paramMeaning(param) {
  return [
    sentence(param.about),
    param.min !== undefined &&
      `From ${param.min} to ${param.max}; any other value is replaced by the default.`,
    param.values &&
      `One of ${param.values.map((value) => `\`${JSON.stringify(value)}\``).join(', ')}.`,
  ]
    .filter(Boolean)
    .join(' ');
}

/** Which parameters are read together, as a record. */
function ofRecords(params) {
  const records = [...new Set(params.map((param) => param.of).filter(Boolean))];
  return records
    .map((record) => {
      const names = params.filter((param) => param.of === record).map(({ name }) => `\`${name}\``);
      return `\n${names.slice(0, -1).join(', ')} and ${names.at(-1)} are read together, as the record \`${record}\`.\n`;
    })
    .join('');
}

/** The elements of lists and members of objects among parameters. */
function elements(params) {
  return params
    .filter(({ members }) => members)
    .map(({ name, members }) => `\nEach element of \`${name}\`:\n\n${parameterTable(members)}`)
    .join('');
}

function answer({
  answered,
  answeredWithNativecb,
  unansweredWhen,
  answeredAgainWhen,
  endedByErrors,
  result,
}) {
  const once = answered === 'later' && !answeredAgainWhen ? ', once' : '';
  const nativecb = answeredWithNativecb
    ? `; with "nativecb", ${answeredWords[answeredWithNativecb].toLowerCase()}`
    : '';
  const sentences = [
    `${answeredWords[answered]}${once}${nativecb}.`,
    result.length === 0 && 'It carries no value.',
    unansweredWhen && `It stays unanswered when ${unansweredWhen}.`,
    endedByErrors && `The errors that end it: ${endedByErrors.join(', ')}.`,
    answeredAgainWhen && `It is answered more than once when ${answeredAgainWhen}.`,
  ];
  const words = quoted(sentences.filter(Boolean).join(' '));
  return `**Answer.** ${words}\n${result.length ? `\n${fields(result)}` : ''}`;
}

function errors(list) {
  if (list.length === 0) return 'It does not fail.\n';
  const rows = list.map(({ module, code, text, when }) =>
    row(
      code === null ? '*varies*' : `\`${code}\``,
      module,
      text === null ? '*varies*' : `\`${text}\``,
      quoted(when),
    ),
  );
  return `**Errors**\n\n| code | module | text | when |\n|---|---|---|---|\n${rows.join('\n')}\n`;
}

// ---- An event

function event(told, script, scenarios) {
  const marks = [
    told.periodic && 'It comes again and again.',
    told.listener && `Listeners of the application hear of it by \`${told.listener}\`.`,
  ];
  return [
    `## ${told.name}\n`,
    `${[quoted(told.about), ...marks].filter(Boolean).join(' ')}\n`,
    `**Payload**\n`,
    fields(told.payload),
    `**Example**, for a page that registered \`${script.function}\`:\n`,
    `\`\`\`js\n${script.function}(${pretty(script.argument, script.function.length + 2)})\n\`\`\`\n`,
    heldBy(told.name, scenarios),
  ]
    .filter(Boolean)
    .join('\n');
}

// ---- What both have

/** A table of fields, and one for each record among them. */
function fields(list) {
  const rows = list.map((field) =>
    row(
      `\`${field.name}\``,
      typeWords(field),
      [
        sentence(field.about),
        field.mayBeAbsent && !field.about.includes('absent') && '*May be absent.*',
      ]
        .filter(Boolean)
        .join(' '),
    ),
  );
  const inner = list
    .filter(({ members }) => members)
    .map(
      ({ name, type, record, members }) =>
        `\n${type === 'list' ? `Each element of \`${name}\`` : `The members of \`${name}\``}${record ? ` (\`${record}\`)` : ''}:\n\n${fields(members)}`,
    );
  return `| name | type | meaning |\n|---|---|---|\n${rows.join('\n')}\n${inner.join('')}`;
}

function typeWords({ type, unit, nonEmpty, format, orText, record, members }) {
  if (orText) return `${typeWords({ type, record, members })}, or the text \`${orText}\``;
  if (format === 'uri') return `${type}, a URL`;
  if (nonEmpty) return `${type}, not empty`;
  if (type === 'list' && (record || members)) return 'list of objects';
  return unit ? `${type} (${unit})` : type;
}

function heldBy(name, scenarios) {
  const { chosen, more, folder } = scenarios.of(name);
  if (chosen.length === 0) return '';
  const rest = more ? `.\nAll: [${folder}](${scenarioFolder}/${folder})` : '';
  return `**Scenarios:**\n${scenarioLinks(chosen)}${rest}.\n`;
}

function scenarioLinks(paths) {
  const inWords = (path) => path.split('/').at(-1).replaceAll('_', ' ');
  return paths
    .map((path) => `[${inWords(path)}](${scenarioFolder}/${path}.jsonl)`)
    .join(',\n');
}

function json(values) {
  return `\`\`\`json\n${values.map((value) => pretty(value)).join('\n')}\n\`\`\`\n`;
}

/** In one line where it fits, else each member in a line of its own. */
function pretty(value, indent = 0) {
  const line = JSON.stringify(value);
  if (line.length + indent <= 100 || value === null || typeof value !== 'object') return line;
  const margin = ' '.repeat(2);
  const shift = (text) => text.replaceAll('\n', `\n${margin}`);
  if (Array.isArray(value)) {
    return `[\n${value.map((one) => margin + shift(pretty(one, 2))).join(',\n')}\n]`;
  }
  const members = Object.entries(value).map(
    ([name, one]) => `${margin}${JSON.stringify(name)}: ${shift(pretty(one, name.length + 6))}`,
  );
  return `{\n${members.join(',\n')}\n}`;
}

const row = (...cells) => `| ${cells.map(cell).join(' | ')} |`;
function codeRow({ code, about, where }, at, all) {
  return `| ${where === all[at - 1]?.where ? '' : cell(where)} | ${code} | ${cell(about)} |`;
}

const cell = (text) => quoted(text).replaceAll('|', '\\|');

/** What stands in quotation marks is code. */
function quoted(text) {
  return text
    .replace(/"([^"`]+)"/g, (all, code, at) => (text[at - 1] === '`' ? all : `\`${code}\``))
    .replace("by the engine's numbers", "by [the engine's numbers](README.md#the-engines-numbers)");
}

function sentence(about) {
  return about ? `${about[0].toUpperCase()}${about.slice(1)}.` : '';
}

function firstSentence(about) {
  return /^.*?[.](?= [A-Z]|$)/.exec(about)?.[0] ?? about;
}
