// The simulator's shell: phones, each with a page in its frame, and a panel beside them.

import { render } from 'preact';
import { useRef } from 'preact/hooks';
import '../base.css';
import { Icon } from '../icons';
import { keepFocus } from './keepFocus';
import { Panel } from './panel';
import { PhoneBadges, PhoneTools, PhoneView } from './phoneView';
import './shell.css';
import { AddressProblems } from './tools/addressProblems';
import { addRowActions } from './tools/rowActions';
import { Workbench } from './workbench';

function Shell({ workbench }: { workbench: Workbench }) {
  const panelButton = useRef<HTMLButtonElement>(null);
  const { phones, current, isFull, isPanelOpen } = workbench;
  const closePanel = () => {
    isPanelOpen.value = false;
    panelButton.current?.focus();
  };
  return (
    <>
      <header class="toolbar" tabIndex={-1}>
        <img src="icon.svg" alt="" width={24} height={24} />
        <h1>vemo simulator</h1>
        <PhoneBadges phone={current.value} workbench={workbench} />
        <PhoneTools phone={current.value} workbench={workbench} />
        <button type="button" class="tool" disabled={isFull} onClick={() => workbench.add()}>
          <Icon name="plus" />
          <span>Add a phone</span>
        </button>
        <button
          ref={panelButton}
          type="button"
          class="tool"
          aria-expanded={isPanelOpen}
          onClick={() => (isPanelOpen.value = !isPanelOpen.value)}
        >
          <Icon name="log" />
          <span>Developer panel</span>
        </button>
      </header>
      {phones.value.length > 1 && (
        <nav class="phone-chooser" aria-label="Phones">
          {phones.value.map((phone) => (
            <button
              key={phone.number}
              type="button"
              aria-pressed={phone === current.value}
              onClick={() => workbench.choose(phone)}
            >
              {phone.name}
            </button>
          ))}
        </nav>
      )}
      <main class="desk" aria-label="The phones" tabIndex={-1}>
        {phones.value.map((phone) => (
          <PhoneView key={phone.number} phone={phone} workbench={workbench} />
        ))}
      </main>
      <AddressProblems workbench={workbench} />
      {isPanelOpen.value && <Panel workbench={workbench} close={closePanel} />}
    </>
  );
}

const workbench = new Workbench();
addRowActions(workbench);
keepFocus();
render(<Shell workbench={workbench} />, document.body);
