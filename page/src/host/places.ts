// Tells the desktop application around a page where the page wants its native views. The application
// puts this into the page, in a world of its own, which the page can't reach.

import { watchPlaces } from '../../client/src/places.js';

declare const webkit: { messageHandlers: { vemoPlaces: { postMessage(text: string): void } } };

watchPlaces((places) => webkit.messageHandlers.vemoPlaces.postMessage(JSON.stringify(places)));
