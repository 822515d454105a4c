// The time line of a phone.

import { useSignal } from '@preact/signals';
import { useLayoutEffect, useRef } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { withoutSecrets } from '../secrets';
import type { Row } from './timeline';
import './timeline.css';

const shownRows = 400;
const signs: Partial<Record<Row['kind'], string>> = { command: '→', answer: '←', event: '⚡', report: '⚡', problem: '!' };

export function TimelinePage({ phone }: { phone: PhoneModel }) {
  const { timeline } = phone;
  const periodic = useSignal(false);
  const secrets = useSignal(false);
  const list = useRef<HTMLOListElement>(null);
  const isAtEnd = useRef(true);
  timeline.version.value;
  const rows = timeline.rows.flatMap((row) => [row, ...(row.answers ?? [])]);
  const shown = rows.filter((row) => periodic.value || !row.periodic).slice(-shownRows);
  useLayoutEffect(() => {
    if (isAtEnd.current) list.current!.scrollTop = list.current!.scrollHeight;
  });
  const masked = (text: string) => (secrets.value ? text : withoutSecrets(text));
  return (
    <>
      <div class="log-tools">
        <label>
          <input type="checkbox" checked={periodic} onChange={() => (periodic.value = !periodic.value)} /> Periodic events
        </label>
        <label>
          <input type="checkbox" checked={secrets} onChange={() => (secrets.value = !secrets.value)} /> Show secrets
        </label>
        <button class="plain" onClick={() => timeline.clear()}>
          Clear
        </button>
      </div>
      <ol
        ref={list}
        class="log"
        aria-label="Log"
        tabIndex={0}
        onScroll={({ currentTarget: { scrollTop, clientHeight, scrollHeight } }) =>
          (isAtEnd.current = scrollTop + clientHeight >= scrollHeight - 24)
        }
      >
        {shown.map((row) => (
          <li key={row.id}>
            <details class={`entry ${row.kind}${row.failed ? ' failed' : ''}`}>
              <summary>
                <span class="sign" aria-hidden="true">
                  {signs[row.kind] ?? '·'}
                </span>
                <span class="name">{masked(row.title)}</span>
                <time>{new Date(row.at).toTimeString().slice(0, 8)}</time>
              </summary>
              <pre>{indented(masked(row.text))}</pre>
            </details>
          </li>
        ))}
      </ol>
    </>
  );
}

function indented(text: string): string {
  try {
    return JSON.stringify(JSON.parse(text), null, 2);
  } catch {
    return text;
  }
}
