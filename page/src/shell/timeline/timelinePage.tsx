// The time line of a phone, with what it takes to find something in it.

import { useSignal } from '@preact/signals';
import type { ComponentChildren } from 'preact';
import { useRef } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { saveFile } from '../saveFile';
import { jsonLines, rowAsJson, scenario } from './exports';
import { groups, type Group } from './lines';
import { RowList } from './rowList';
import './timeline.css';
import type { Row } from './timeline';

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
    const name = `${phone.fileName}${ending}`;
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
      <RowList shown={phone} phone={phone} copy={(row) => void copy(row)} />
    </>
  );
}

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
