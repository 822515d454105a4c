// A phone on the desk: its caption, its frame with the page, and what lies above the page.

import { signal } from '@preact/signals';
import { useLayoutEffect, useRef, useState } from 'preact/hooks';
import { IconButton } from '../icons';
import { LayersContext } from './layer';
import { Layers } from './layers';
import { NativeViews } from './nativeViews';
import { Overlays } from './overlays';
import { PageFrame } from './pageFrame';
import type { PhoneModel } from './phoneModel';
import './phoneView.css';
import { RecordingBadge } from './session/sessionPage';
import { FaultBadge } from './tools/faultsPage';
import { pageQuery } from './tools/profile';
import { usePageLook } from './tools/pageLook';
import type { Workbench } from './workbench';

const clock = signal('');
const tick = () => (clock.value = new Date().toTimeString().slice(0, 5));
tick();
setInterval(tick, 10_000);

export function PhoneView({ phone, workbench }: { phone: PhoneModel; workbench: Workbench }) {
  const frame = useRef<HTMLIFrameElement>(null);
  const views = useRef<HTMLDivElement>(null);
  const [layers, setLayers] = useState<Layers>();
  useLayoutEffect(() => {
    const query = pageQuery(phone.memory.look);
    const page = new PageFrame(frame.current!, query, {
      onPage: (port) => phone.link.attach(port),
      onNotice: (notice) => (phone.notice.value = notice),
      onProblem: (text) => phone.problem(text),
    });
    const drawn = new NativeViews(views.current!, phone);
    phone.page = page;
    setLayers(new Layers(page));
    return () => {
      drawn.end();
      page.end();
      phone.page = undefined;
    };
  }, []);
  usePageLook(frame, phone);
  const isCurrent = workbench.current.value === phone;
  return (
    <section
      class="phone"
      aria-label={phone.name}
      data-phone={phone.number}
      data-state={phone.state}
      data-current={isCurrent}
      data-device={phone.device}
      data-rotation={phone.memory.look.rotation}
      onFocusCapture={() => workbench.choose(phone)}
      onPointerDownCapture={() => workbench.choose(phone)}
    >
      <header class="caption">
        <h2>{phone.name}</h2>
        {phone.memory.cutOff && <span class="offline">Offline</span>}
        <PhoneTools phone={phone} workbench={workbench} />
      </header>
      <div class="device">
        <div class="status-bar" aria-hidden="true">
          <span>{clock}</span>
          <span class="battery">
            <span />
          </span>
        </div>
        <div class="screen">
          <iframe ref={frame} name={`phone-${phone.number}`} class="web-view" title={`Page of ${phone.name}`} />
          {phone.notice.value && (
            <p class="page-notice" role="status" data-beside={phone.notice.value.hasPage}>
              {phone.notice.value.text}
            </p>
          )}
          <div ref={views} class="native-views" aria-hidden="true" />
          <div class="overlays">
            {layers && (
              <LayersContext.Provider value={layers}>
                <Overlays phone={phone} />
              </LayersContext.Provider>
            )}
          </div>
        </div>
      </div>
    </section>
  );
}

/** What can be done to a phone as a whole. */
export function PhoneTools({ phone, workbench }: { phone: PhoneModel; workbench: Workbench }) {
  const device = phone.device.value;
  const { cutOff } = phone.memory;
  const choose = (kind: 'phone' | 'tablet') => () => (phone.device.value = kind);
  return (
    <div class="phone-tools">
      <RecordingBadge phone={phone} show={() => workbench.showPage(phone, 'Sessions')} />
      <FaultBadge phone={phone} show={() => workbench.showPage(phone, 'Faults')} />
      <div class="segmented" role="group" aria-label="Size">
        <IconButton name="phone" title="Phone" press={choose('phone')} aria-pressed={device === 'phone'} />
        <IconButton name="tablet" title="Tablet" press={choose('tablet')} aria-pressed={device === 'tablet'} />
      </div>
      <IconButton
        name={cutOff ? 'offline' : 'online'}
        title={cutOff ? 'Restore the network' : 'Cut off the network'}
        press={() => phone.send({ kind: 'network', drop: !cutOff })}
      />
      <IconButton name="refresh" title="Reload the page" press={() => phone.reload()} />
      {workbench.phones.value.length > 1 && (
        <IconButton
          name="close"
          title={`Remove ${phone.name.toLowerCase()}`}
          press={() => workbench.remove(phone)}
        />
      )}
    </div>
  );
}
