// A press may take away, or disable, the very button that was pressed: the focus is not lost with it.

/**
 * From now on, when a press leaves the focus nowhere, it is led to the nearest place around that is
 * still there and takes it: a page of the panel, the phones, the bar.
 */
export function keepFocus(): void {
  addEventListener('click', (event) => {
    const places = event.composedPath().filter((place): place is HTMLElement => place instanceof HTMLElement);
    // What came of the press is drawn then, and a browser has let go of what can't be focused.
    requestAnimationFrame(() =>
      requestAnimationFrame(() => {
        const active = document.activeElement;
        // What was disabled may still have it, and loses it later.
        if (active !== document.body && !active?.matches(':disabled')) return;
        const around = places.find((place) => place.getAttribute('tabindex') === '-1' && place.isConnected);
        (around ?? document.querySelector<HTMLElement>('main'))?.focus();
      }),
    );
  });
}
