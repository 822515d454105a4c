// The panel beside the phones: what goes to and fro, and how a phone is set.

import { useLayoutEffect, useRef } from 'preact/hooks';
import { IconButton } from '../icons';
import './panel.css';
import { PhonePage } from './phonePage';
import { SessionPage } from './session/sessionPage';
import { TimelinePage } from './timeline/timelinePage';
import { BotsPage } from './tools/botsPage';
import { CoveragePage } from './tools/coveragePage';
import { FaultsPage } from './tools/faultsPage';
import { FirePage } from './tools/firePage';
import { SendPage } from './tools/sendPage';
import { panelTitles, type PanelTitle, type Workbench } from './workbench';

const pageOf = {
  'Time line': TimelinePage,
  Phone: PhonePage,
  Send: SendPage,
  Fire: FirePage,
  Faults: FaultsPage,
  Bots: BotsPage,
  Coverage: CoveragePage,
  Sessions: SessionPage,
};

/** The pages that send something to the phone. */
const sending = new Set<PanelTitle>(['Phone', 'Send', 'Fire', 'Faults']);

export function Panel({ workbench, close }: { workbench: Workbench; close: () => void }) {
  const chosen = workbench.panelPage;
  const tabs = useRef<HTMLDivElement>(null);
  const { phones } = workbench;
  useLayoutEffect(() => tabs.current?.children[chosen.value]?.scrollIntoView({ block: 'nearest' }), [chosen.value]);
  const phone = workbench.current.value;
  const title = panelTitles[chosen.value]!;
  const Page = pageOf[title];
  const onTabKey = (event: KeyboardEvent) => {
    const { length } = panelTitles;
    const at = { ArrowLeft: chosen.value - 1, ArrowRight: chosen.value + 1, Home: 0, End: length - 1 }[event.key];
    if (at === undefined) return;
    event.preventDefault(); // which would scroll the tabs
    chosen.value = (at + length) % length;
    const tab = tabs.current?.children[chosen.value] as HTMLElement;
    tab.focus();
    tab.scrollIntoView({ block: 'nearest' }); // it may have had the focus
  };
  return (
    <aside
      class="panel"
      aria-label="Developer panel"
      onKeyDown={({ key }) => {
        if (key === 'Escape') close();
      }}
    >
      <header>
        <div ref={tabs} class="tabs" role="tablist" aria-label="Developer panel" onKeyDown={onTabKey}>
          {panelTitles.map((title, at) => (
            <button
              key={title}
              id={`tab-${at}`}
              role="tab"
              aria-selected={at === chosen.value}
              aria-controls="tab-page"
              tabIndex={at === chosen.value ? 0 : -1}
              onClick={() => (chosen.value = at)}
            >
              {title}
            </button>
          ))}
        </div>
        {phones.value.length > 1 && (
          <select
            aria-label="Phone that the panel shows"
            value={phone.number}
            onChange={({ currentTarget }) => {
              const chosen = phones.value.find(({ number }) => number === Number(currentTarget.value));
              if (chosen) workbench.choose(chosen);
            }}
          >
            {phones.value.map(({ number, name }) => (
              <option key={number} value={number} selected={number === phone.number}>
                {name}
              </option>
            ))}
          </select>
        )}
        <IconButton name="close" title="Close panel" press={close} />
      </header>
      <div
        id="tab-page"
        class="panel-page"
        role="tabpanel"
        aria-labelledby={`tab-${chosen.value}`}
        tabIndex={-1}
      >
        {sending.has(title) && phone.state.value !== 'ready' && (
          <p class="panel-notice" role="status">
            Nothing reaches {phone.name}: its page has no connection to the simulator.
          </p>
        )}
        <Page key={phone.number} phone={phone} workbench={workbench} />
      </div>
    </aside>
  );
}
