// Line icons, drawn in the text's colour.

import type { ComponentChildren } from 'preact';

const paths = {
  mic: (
    <><path d="M12 15a4 4 0 0 0 4-4V6a4 4 0 0 0-8 0v5a4 4 0 0 0 4 4Z"/><path d="M5 11a7 7 0 0 0 14 0M12 18v3"/></>
  ),
  micOff: (
    <><path d="M8 8v3a4 4 0 0 0 6 3.5M16 11V6a4 4 0 0 0-7.5-2"/><path d="M5 11a7 7 0 0 0 10.6 6M19 11a7 7 0 0 1-.8 3.3M12 18v3M4 3l16 18"/></>
  ),
  camera: (
    <><rect x="3" y="6" width="12" height="12" rx="2.5"/><path d="m15 11 6-3.5v9L15 13"/></>
  ),
  cameraOff: (
    <><path d="M8 6h4.5A2.5 2.5 0 0 1 15 8.5V13l6 3.5v-9L15 11M15 16.5A2.5 2.5 0 0 1 12.5 18h-7A2.5 2.5 0 0 1 3 15.5v-7C3 7.4 3.7 6.5 4.6 6.1M4 3l16 18"/></>
  ),
  screen: (
    <><rect x="3" y="4" width="18" height="12" rx="2"/><path d="M8 20h8M12 16v4M12 13V7.5M9.5 10 12 7.5 14.5 10"/></>
  ),
  hand: (
    <><path d="M7 12V6.5a1.5 1.5 0 0 1 3 0V11M10 10.5v-6a1.5 1.5 0 0 1 3 0v6M13 10.5v-5a1.5 1.5 0 0 1 3 0V13M16 9.5a1.5 1.5 0 0 1 3 0V15a6 6 0 0 1-6 6h-1.5c-2 0-3.4-.8-4.6-2.5L4 14.2c-1-1.5.9-3 2.1-1.7L7 13.5"/></>
  ),
  leave: (
    <><path d="M14 4h3a3 3 0 0 1 3 3v10a3 3 0 0 1-3 3h-3M10 8l-4 4 4 4M6 12h9"/></>
  ),
  more: (
    <><circle cx="5" cy="12" r="1.3"/><circle cx="12" cy="12" r="1.3"/><circle cx="19" cy="12" r="1.3"/></>
  ),
  music: (
    <><path d="M9 18V6l11-2v12"/><circle cx="6.5" cy="18" r="2.5"/><circle cx="17.5" cy="16" r="2.5"/></>
  ),
  chart: (
    <><path d="M4 20h16M7 16v-5M12 16V6M17 16v-8"/></>
  ),
  gauge: (
    <><path d="M4.5 18a9 9 0 1 1 15 0M12 14l4-5"/></>
  ),
  people: (
    <><circle cx="9" cy="8" r="3.5"/><path d="M2.5 20a6.5 6.5 0 0 1 13 0M16 4.8a3.5 3.5 0 0 1 0 6.4M18 14.5a6.5 6.5 0 0 1 3.5 5.5"/></>
  ),
  sliders: (
    <><path d="M4 7h9M17 7h3M4 17h3M11 17h9"/><circle cx="15" cy="7" r="2"/><circle cx="9" cy="17" r="2"/></>
  ),
  alert: (
    <><path d="M12 8v5M12 16.5v.01"/><circle cx="12" cy="12" r="9"/></>
  ),
  close: (
    <><path d="m6 6 12 12M18 6 6 18"/></>
  ),
  online: (
    <><path d="M3 9a13 13 0 0 1 18 0M6.5 12.5a8 8 0 0 1 11 0M9.8 16a3.4 3.4 0 0 1 4.4 0M12 19.5v.01"/></>
  ),
  offline: (
    <><path d="M3 9a13 13 0 0 1 4-2.6M11 5.6A13 13 0 0 1 21 9M6.5 12.5a8 8 0 0 1 3.5-2M14.5 10.8A8 8 0 0 1 17.5 12.5M9.8 16a3.4 3.4 0 0 1 4.4 0M12 19.5v.01M4 3l16 18"/></>
  ),
  plus: (
    <><path d="M12 5v14M5 12h14"/></>
  ),
  refresh: (
    <><path d="M20 11a8 8 0 0 0-14.5-3.5L4 9M4 4v5h5M4 13a8 8 0 0 0 14.5 3.5L20 15M20 20v-5h-5"/></>
  ),
  play: (
    <><path d="M7 5v14l12-7Z"/></>
  ),
  pause: (
    <><path d="M8 5v14M16 5v14"/></>
  ),
  stop: (
    <><rect x="6" y="6" width="12" height="12" rx="2"/></>
  ),
  volume: (
    <><path d="M4 10v4h4l5 4V6L8 10ZM16.5 9a4.5 4.5 0 0 1 0 6M19 6.5a8 8 0 0 1 0 11"/></>
  ),
  volumeOff: (
    <><path d="M4 10v4h4l5 4V6L8 10ZM17 10l4 4M21 10l-4 4"/></>
  ),
  phone: (
    <><rect x="7" y="3" width="10" height="18" rx="2.5"/><path d="M11 18h2"/></>
  ),
  tablet: (
    <><rect x="3" y="5" width="18" height="14" rx="2.5"/><path d="M18 11v2"/></>
  ),
  plug: (
    <><path d="M9 3v5M15 3v5M6 8h12v3a6 6 0 0 1-12 0ZM12 17v4"/></>
  ),
  log: (
    <><path d="M5 5h14M5 10h9M5 15h14M5 20h9"/></>
  ),
  flip: (
    <><path d="M4 8h11a5 5 0 0 1 5 5M7 5 4 8l3 3M20 16H9a5 5 0 0 1-5-5M17 19l3-3-3-3"/></>
  ),
} as const;
export type IconName = keyof typeof paths;

/** An icon, hidden from readers of the page: a label beside it or a `title` says what it means. */
export function Icon({ name }: { name: IconName }) {
  return (
    <span class="icon" aria-hidden="true">
      <svg
        viewBox="0 0 24 24"
        fill="none"
        stroke="currentColor"
        stroke-width="1.8"
        stroke-linecap="round"
        stroke-linejoin="round"
      >
        {paths[name]}
      </svg>
    </span>
  );
}

/** A button with an icon for a face; `children` follow the icon. */
export function IconButton(
  props: { name: IconName; title: string; press: () => void; children?: ComponentChildren } & Record<
    `data-${string}` | `aria-${string}`,
    string | boolean | undefined
  >,
) {
  const { name, title, press, children, ...attributes } = props;
  return (
    <button type="button" class="icon-button" title={title} aria-label={title} onClick={press} {...attributes}>
      <Icon name={name} />
      {children}
    </button>
  );
}
