// One row of a time line.

import { useEffect, useState } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { withoutSecrets } from '../secrets';
import { unansweredWhen } from './known';
import { brief, duration, errorOf, indented, member, parsed, timeOfDay, tookInWords, visible } from './texts';
import type { Kind, Row } from './timeline';

const signs: Record<Kind, string> = {
  command: '→',
  answer: '←',
  event: '⚡',
  report: '⚡',
  engine: '⚙',
  record: '≡',
  native: '◇',
  connection: '∞',
  prompt: '?',
  press: '☝',
  network: '↯',
  settings: '✎',
  note: '·',
  problem: '!',
};
const names: Record<Kind, string> = {
  command: 'Command',
  answer: 'Answer',
  event: 'Event',
  report: 'Report',
  engine: 'Engine call',
  record: 'Record',
  native: 'System',
  connection: 'Connection',
  prompt: 'Prompt',
  press: 'Press',
  network: 'Network',
  settings: 'Settings',
  note: 'Note',
  problem: 'Problem',
};

/** Something that can be done with a row; a button in it when it is unfolded. */
export interface RowAction {
  title: string;
  fits(row: Row): boolean;
  run(phone: PhoneModel, row: Row): void;
}
/** Further parts of the shell add theirs. */
export const rowActions: RowAction[] = [];

const shower = (showsSecrets: boolean) => (text: string) => (showsSecrets ? text : withoutSecrets(text));

/** What is always seen of a row; `threads` have lanes, in order. */
export function RowHead(props: { row: Row; showsSecrets: boolean; threads: readonly string[] }) {
  const { row, showsSecrets, threads } = props;
  const shown = shower(showsSecrets);
  const lane = threads.indexOf(row.thread);
  return (
    <>
      <time>{row.at !== null && timeOfDay(row.at)}</time>
      {threads.length > 0 && (
        <span class="lanes" title={`Thread: ${row.thread}`}>
          {threads.map((thread, at) => (
            <span key={thread} class="lane">
              {at === (lane < 0 ? threads.length - 1 : lane) && <i />}
            </span>
          ))}
        </span>
      )}
      <span class="sign" role="img" aria-label={names[row.kind]} title={names[row.kind]}>
        {signs[row.kind]}
      </span>
      <span class="what">
        <span class="name">{visible(shown(row.title))}</span>
        <span class="brief">{brief(row, shown) || null}</span>
      </span>
      <Outcome row={row} shown={shown} />
    </>
  );
}

function Outcome({ row, shown }: { row: Row; shown: (text: string) => string }) {
  const remark = row.remarks?.[0];
  const first = row.answers?.[0];
  const took = first && tookInWords(row, first);
  const failed = row.answers?.find((answer) => answer.failed);
  return (
    <span class="outcome">
      {remark && (
        <span class="remark-mark" data-tone={remark.tone} title={shown(remark.text)}>
          <span aria-hidden="true">▲</span> {row.remarks!.length > 1 ? row.remarks!.length : ''}
          <span class="unseen">{shown(remark.text)}</span>
        </span>
      )}
      {row.waiting === 'waiting' && row.ticks !== null && <Waiting since={row.ticks} />}
      {row.waiting === 'over' && <span class="over">never answered</span>}
      {failed && <span class="code">{errorOf(failed)?.code}</span>}
      {took !== undefined && <span class="took">{took}</span>}
      {row.answers && row.answers.length > 1 && <span class="took">×{row.answers.length}</span>}
    </span>
  );
}

function Waiting({ since }: { since: number }) {
  const [now, setNow] = useState(performance.now());
  useEffect(() => {
    const timer = setInterval(() => setNow(performance.now()), 1000);
    return () => clearInterval(timer);
  }, []);
  const seconds = Math.floor((now - since) / 1000);
  return <span class="waits">{seconds < 1 ? 'waiting' : `waiting ${duration(seconds * 1000)}`}</span>;
}

const mostAnswers = 20;

/** What is seen of a row that is unfolded. */
export function RowDetails(props: {
  /** The one that what can be done with a row acts on; without it nothing can. */
  phone?: PhoneModel | undefined;
  row: Row;
  showsSecrets: boolean;
  copy?: ((row: Row) => void) | undefined;
}) {
  const { phone, row, showsSecrets, copy } = props;
  const shown = shower(showsSecrets);
  const answers = row.answers ?? [];
  const message = row.kind === 'command' ? parsed(row.text) : undefined;
  const params = member(message, 'params');
  const nativecb = member(message, 'nativecb');
  const actions = phone ? rowActions.filter(({ fits }) => fits(row)) : [];
  return (
    <div class="details">
      {row.remarks?.map(({ tone, text }) => (
        <p key={text} class="remark" data-tone={tone}>
          {visible(shown(text))}
        </p>
      ))}
      <dl>
        {row.cbid !== undefined && <Fact name="cbid">{visible(row.cbid)}</Fact>}
        {nativecb !== undefined && <Fact name="nativecb">{visible(String(nativecb))}</Fact>}
        <Fact name="Thread">{row.thread}</Fact>
      </dl>
      {message !== undefined ? (
        <>
          <p class="details-title">Parameters</p>
          <pre>{params === undefined ? 'none' : indented(shown(JSON.stringify(params)))}</pre>
          {answers.length > mostAnswers && <p>{answers.length - mostAnswers} earlier answers</p>}
          {answers.slice(-mostAnswers).map((answer) => (
            <Answer key={answer.id} asked={row} answer={answer} shown={shown} />
          ))}
          <Unanswered row={row} />
        </>
      ) : (
        row.text !== '' && <pre>{indented(shown(row.text))}</pre>
      )}
      <div class="row-actions">
        {copy && (
          <button type="button" class="small" onClick={() => copy(row)}>
            Copy
          </button>
        )}
        {actions.map(({ title, run }) => (
          <button key={title} type="button" class="small" onClick={() => run(phone!, row)}>
            {title}
          </button>
        ))}
      </div>
    </div>
  );
}

function Fact({ name, children }: { name: string; children: string }) {
  return (
    <div>
      <dt>{name}</dt>
      <dd>{children}</dd>
    </div>
  );
}

function Answer(props: { asked: Row; answer: Row; shown: (text: string) => string }) {
  const { asked, answer, shown } = props;
  const error = errorOf(answer);
  const text = shown(answer.text);
  const took = tookInWords(asked, answer);
  const told = member(parsed(text), 'retval') ?? member(parsed(text), 'error');
  return (
    <>
      <p class="details-title">
        {took === undefined ? 'Answer' : `Answer after ${took}`}
        {error && <span class="error-text">{` · error ${error.code}: ${visible(shown(error.text)) || 'no text'}`}</span>}
      </p>
      <pre>{indented(told === undefined ? text : JSON.stringify(told))}</pre>
    </>
  );
}

function Unanswered({ row }: { row: Row }) {
  if (row.waiting === 'unasked') return <p>It has no cbid, so no answer was asked for.</p>;
  if (row.waiting === 'over') return <p>{row.overBecause}</p>;
  const when = unansweredWhen(row.title);
  if (row.waiting !== 'waiting' || when === undefined) return null;
  return <p>By the protocol it is never answered when {when}.</p>;
}
