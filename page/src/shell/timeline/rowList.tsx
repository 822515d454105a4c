// The rows of a time line that fit, of which only those in sight are drawn.

import { useRef } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { RowDetails, RowHead } from './rowView';
import './timeline.css';
import type { Row, Timeline } from './timeline';
import type { TimelineView } from './timelineView';
import { atEndPixels, useVirtualList } from './virtualList';

/** Whose rows are shown. */
export interface Told {
  name: string;
  number: number | string;
  timeline: Timeline;
  timelineView: TimelineView;
}

/** The rows; `phone` is the one that their actions act on. */
export function RowList(props: { shown: Told; phone?: PhoneModel; copy?: (row: Row) => void }) {
  const { shown, phone, copy } = props;
  const { timeline, timelineView: view } = shown;
  const scroller = useRef<HTMLDivElement>(null);
  const { rows } = view;
  const active = view.active.value;
  const follows = useRef(true);
  const list = useVirtualList({
    count: rows.length,
    keyOf: (index) => rows[index]!.id,
    height: 1.75 * parseFloat(getComputedStyle(document.documentElement).fontSize),
    scroller: () => scroller.current,
    follows: follows.current,
  });
  // Who unfolds a row wants to read it where it is.
  const fold = (row: Row, open?: boolean) => {
    follows.current = false;
    view.fold(row, open);
  };
  const idOf = (row: Row) => `row-${shown.number}-${row.id}`;
  const activate = (index: number) => {
    const to = Math.max(0, Math.min(rows.length - 1, index));
    view.active.value = rows[to]?.id;
    list.scrollToIndex(to);
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.target !== event.currentTarget) return;
    const at = rows.findIndex(({ id }) => id === active);
    const row = rows[at];
    const page = Math.max(1, Math.floor((scroller.current?.clientHeight ?? 0) / 30));
    if (event.key === 'ArrowDown') activate(at + 1);
    else if (event.key === 'ArrowUp') activate(at < 0 ? rows.length - 1 : at - 1);
    else if (event.key === 'PageDown') activate(at + page);
    else if (event.key === 'PageUp') activate(at - page);
    else if (event.key === 'Home') activate(0);
    else if (event.key === 'End') activate(rows.length - 1);
    else if (row && event.key === 'ArrowRight') fold(row, true);
    else if (row && event.key === 'ArrowLeft') fold(row, false);
    else if (row && (event.key === 'Enter' || event.key === ' ')) fold(row);
    else if (row && event.key === 'c' && (event.ctrlKey || event.metaKey)) copy?.(row);
    else return;
    event.preventDefault();
  };
  const drawn = list.getVirtualItems().filter(({ index }) => index < rows.length);
  const activeRow = drawn.map(({ index }) => rows[index]!).find(({ id }) => id === active);
  const hasTimes = timeline.rows[0]?.at !== null;
  const threads = timeline.threads.length > 1 ? timeline.threads.slice(0, mostLanes) : [];
  return (
    <>
      {threads.length > 0 && (
        <div class="lane-names" data-times={hasTimes} style={{ '--lanes': threads.length }}>
          <span>Threads</span>
          {threads.map((thread) => (
            <span key={thread} class="lane-name" title={thread}>
              {thread.slice(0, 1)}
              {/\d+$/.exec(thread)?.[0]}
            </span>
          ))}
        </div>
      )}
      <div
        ref={scroller}
        class="rows"
        data-times={hasTimes}
        role={rows.length > 0 ? 'tree' : 'group'}
        aria-label={`What has happened to ${shown.name}`}
        tabIndex={0}
        aria-activedescendant={activeRow && idOf(activeRow)}
        style={{ '--lanes': threads.length }}
        onKeyDown={onKeyDown}
        onScroll={({ currentTarget: { scrollTop, clientHeight, scrollHeight } }) =>
          (follows.current = scrollTop + clientHeight >= scrollHeight - atEndPixels)
        }
      >
        <div class="rows-all" role="none" style={{ height: `${list.getTotalSize()}px` }}>
          {drawn.map(({ index, start }) => {
            const row = rows[index]!;
            const isOpen = view.isOpen(row);
            return (
              <div
                key={row.id}
                id={idOf(row)}
                ref={list.measureElement}
                data-index={index}
                role="treeitem"
                aria-level={row.cause ? 2 : 1}
                aria-setsize={rows.length}
                aria-posinset={index + 1}
                aria-expanded={isOpen}
                aria-selected={row.id === active}
                class="row"
                data-kind={row.kind}
                data-failed={row.failed}
                style={{ transform: `translateY(${start}px)` }}
              >
                <div
                  class="row-head"
                  onClick={() => {
                    view.active.value = row.id;
                    fold(row);
                  }}
                >
                  <RowHead row={row} showsSecrets={view.showsSecrets.value} threads={threads} />
                </div>
                {isOpen && (
                  <RowDetails phone={phone} row={row} showsSecrets={view.showsSecrets.value} copy={copy} />
                )}
              </div>
            );
          })}
        </div>
        {rows.length === 0 && <NoRows shown={shown} />}
      </div>
      <RowsCount shown={shown} />
    </>
  );
}

function NoRows({ shown: { timeline } }: { shown: Told }) {
  timeline.version.value;
  return <p class="rows-none">{timeline.count ? 'No row fits.' : 'Nothing has happened yet.'}</p>;
}

// It changes more often than the rows that are shown.
function RowsCount({ shown: { timeline, timelineView } }: { shown: Told }) {
  timeline.version.value;
  return (
    <p class="rows-count">
      {inWords(timelineView.rows.length)} shown, {inWords(timeline.count)} kept
      {timeline.dropped > 0 && `, the oldest ${inWords(timeline.dropped)} dropped`}
    </p>
  );
}

const inWords = (count: number) => count.toLocaleString('en');

/** Further threads share the last lane. */
const mostLanes = 6;
