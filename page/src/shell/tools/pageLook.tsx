// How the phone has its page look: dark or light, its size of text, its language.

import type { RefObject } from 'preact';
import { useEffect } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { Choice } from './fields';

/** Keeps the page in `frame` as the phone is set. */
export function usePageLook(shown: RefObject<HTMLIFrameElement | null>, phone: PhoneModel): void {
  const { dark, textSize, language } = phone.memory.look;
  const state = phone.state.value;
  useEffect(() => {
    // The page sees it as what its user prefers.
    shown.current!.style.colorScheme = dark === undefined ? '' : dark ? 'dark' : 'light';
  }, [dark]);
  // Each page that connects is told.
  useEffect(() => phone.page?.look({ textSize, language }), [textSize, language, state]);
}

const languages = ['en', 'zh-CN', 'de', 'ar'];
const inWords = (tag: string) => new Intl.DisplayNames('en', { type: 'language' }).of(tag) ?? tag;
const textSizes = [80, 100, 130, 150, 200];

/** The part of the phone's settings that is about its page. */
export function LookSettings({ phone }: { phone: PhoneModel }) {
  const { memory } = phone;
  const { dark, textSize, language, rotation } = memory.look;
  return (
    <>
      <Choice
        label="Colours"
        value={dark === undefined ? '' : dark ? 'dark' : 'light'}
        options={{ '': 'As this browser', light: 'Light', dark: 'Dark' }}
        choose={(value) => memory.setLook({ dark: value === '' ? undefined : value === 'dark' })}
      />
      <Choice
        label="Text size"
        value={String(textSize ?? 100)}
        options={Object.fromEntries(
          [...new Set([...textSizes, textSize ?? 100])].sort((a, b) => a - b).map((size) => [size, `${size} %`]),
        )}
        choose={(value) => memory.setLook({ textSize: value === '100' ? undefined : Number(value) })}
      />
      <Choice
        label="Language"
        value={language ?? ''}
        options={{
          '': 'As this browser',
          ...Object.fromEntries([...new Set([...languages, ...(language ? [language] : [])])].map((tag) => [tag, inWords(tag)])),
        }}
        choose={(value) => memory.setLook({ language: value === '' ? undefined : value })}
      />
      <Choice
        label="Rotation"
        value={rotation ?? ''}
        options={{ '': 'As there is room', portrait: 'Portrait', landscape: 'Landscape' }}
        choose={(value) =>
          memory.setLook({ rotation: value === '' ? undefined : value === 'landscape' ? value : 'portrait' })
        }
      />
    </>
  );
}
