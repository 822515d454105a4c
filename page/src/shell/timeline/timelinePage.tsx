// The time line of a phone, with what it takes to find something in it.

import { useSignal } from '@preact/signals';
import type { ComponentChildren } from 'preact';
import { useRef } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { jsonLines, rowAsJson, scenario } from './exports';
import { groups, type Group } from './lines';
import { RowHead, RowDetails } from './rowView';
import './timeline.css';
import type { Row } from './timeline';
import { atEndPixels, useVirtualList } from './virtualList';

export function TimelinePage({ phone }: { phone: PhoneModel }) {
  const { timeline, timelineView: view } = phone;
  const said = useSignal('');
  const { groups: shown, failures, periodic, search } = view.filter.value;
  const showsSecrets = view.showsSecrets.value;

  const copy = async (row: Row) => {
    await navigator.clipboard.writeText(rowAsJson(row, showsSecrets));
    said.value = 'Copied.';
  };
  const save = (ending: string, text: string) => {
    const name = `${phone.name.toLowerCase().replace(' ', '-')}${ending}`;
    saveFile(name, text);
    said.value = `Saved ${name}.`;
  };
  const chip = (title: string, pressed: boolean, press: () => void) => (
    <button key={title} type="button" class="chip" aria-pressed={pressed} onClick={press}>
      {title}
    </button>
  );
  return (
    <>
      <div class="timeline-tools">
        <div class="timeline-find">
          <input
            type="search"
            placeholder="Search"
            aria-label="Search the time line"
            value={search}
            onInput={({ currentTarget }) => view.change({ search: currentTarget.value })}
          />
          <Menu title="Export">
            <button type="button" onClick={() => save('.jsonl', jsonLines(timeline, showsSecrets))}>
              <strong>Everything</strong>
              <span>All rows as JSON Lines</span>
            </button>
            <button type="button" onClick={() => save('.scenario.jsonl', scenario(timeline, showsSecrets))}>
              <strong>Scenario</strong>
              <span>What vemo-replay can play again</span>
            </button>
          </Menu>
          <button type="button" class="small" onClick={() => timeline.clear()}>
            Clear
          </button>
        </div>
        <div class="chips" role="group" aria-label="Kinds of rows">
          {Object.entries(groups).map(([group, title]) =>
            chip(title, shown.has(group as Group), () => view.toggleGroup(group as Group)),
          )}
        </div>
        <div class="chips" role="group" aria-label="What else is shown">
          {chip('Periodic', periodic, () => view.change({ periodic: !periodic }))}
          {chip('Only failures', failures, () => view.change({ failures: !failures }))}
          {chip('Show secrets', showsSecrets, () => (view.showsSecrets.value = !showsSecrets))}
          <span class="said" role="status">
            {said}
          </span>
        </div>
      </div>
      <RowList phone={phone} copy={(row) => void copy(row)} />
    </>
  );
}

function RowList({ phone, copy }: { phone: PhoneModel; copy: (row: Row) => void }) {
  const { timeline, timelineView: view } = phone;
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
  const idOf = (row: Row) => `row-${phone.number}-${row.id}`;
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
    else if (row && event.key === 'c' && (event.ctrlKey || event.metaKey)) copy(row);
    else return;
    event.preventDefault();
  };
  const drawn = list.getVirtualItems().filter(({ index }) => index < rows.length);
  const activeRow = drawn.map(({ index }) => rows[index]!).find(({ id }) => id === active);
  const threads = timeline.threads.length > 1 ? timeline.threads.slice(0, mostLanes) : [];
  return (
    <>
      {threads.length > 0 && (
        <div class="lane-names" style={{ '--lanes': threads.length }}>
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
        role={rows.length > 0 ? 'tree' : 'group'}
        aria-label={`What has happened to ${phone.name}`}
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
        {rows.length === 0 && <p class="rows-none">{timeline.count ? 'No row fits.' : 'Nothing has happened yet.'}</p>}
      </div>
      <p class="rows-count">
        {inWords(rows.length)} shown, {inWords(timeline.count)} kept
        {timeline.dropped > 0 && `, the oldest ${inWords(timeline.dropped)} dropped`}
      </p>
    </>
  );
}

const inWords = (count: number) => count.toLocaleString('en');

/** Further threads share the last lane. */
const mostLanes = 6;

function Menu({ title, children }: { title: string; children: ComponentChildren }) {
  const menu = useRef<HTMLDetailsElement>(null);
  const close = () => {
    menu.current!.open = false;
  };
  const closeAndGoBack = () => {
    close();
    menu.current!.querySelector('summary')!.focus();
  };
  return (
    <details
      ref={menu}
      class="menu"
      onFocusOut={({ relatedTarget, currentTarget }) => {
        if (!currentTarget.contains(relatedTarget as Node | null)) close();
      }}
      onKeyDown={(event) => {
        if (event.key !== 'Escape' || !menu.current!.open) return;
        event.stopPropagation();
        closeAndGoBack();
      }}
    >
      <summary class="small">{title}</summary>
      <div class="menu-items" onClick={closeAndGoBack}>
        {children}
      </div>
    </details>
  );
}

function saveFile(name: string, text: string): void {
  const address = URL.createObjectURL(new Blob([text], { type: 'application/x-ndjson' }));
  const link = Object.assign(document.createElement('a'), { href: address, download: name });
  link.click();
  URL.revokeObjectURL(address);
}
