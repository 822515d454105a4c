// A class that plays by itself: who does what next.

import type { Bot } from './bot';

/** One thing that one bot does, in words for the log, such as "starts to speak". */
export interface Act {
  bot: Bot;
  words: string;
  run(): void;
}

/** Something that one of `bots` can do now, by chance; nothing when there is nothing to do. */
export function nextAct(bots: readonly Bot[], random: () => number): Act | undefined {
  const acts = bots.flatMap((bot) => possible(bot, bots));
  const sum = acts.reduce((total, { weight }) => total + weight, 0);
  let at = random() * sum;
  return acts.find(({ weight }) => (at -= weight) < 0);
}

type Weighted = Act & { weight: number };

// Nobody shares while somebody else does, and only one has no network; those who are out of
// sight soon come back.
function possible(bot: Bot, bots: readonly Bot[]): Weighted[] {
  const { at, microphone, camera, sharing, network } = bot.state.value;
  const does = (weight: number, words: string, run: () => void) => ({ bot, weight, words, run });
  if (at === 'gone' || at === 'coming') return [];
  if (network === 'cut') return [does(6, 'is online again', () => bot.setNetwork('good'))];
  if (at === 'outside') return [does(6, 'comes back', () => bot.enter())];
  const others = bots.filter((one) => one !== bot).map((one) => one.state.value);
  const acts = [does(1, 'leaves', () => bot.leave())];
  if (!others.some((one) => one.network === 'cut'))
    acts.push(does(1, 'loses the network', () => bot.setNetwork('cut')));
  if (!bot.canSend) return acts;
  acts.push(
    does(6, microphone ? 'falls silent' : 'starts to speak', () => bot.setMicrophone(!microphone)),
    does(4, camera ? 'turns the camera off' : 'turns the camera on', () => bot.setCamera(!camera)),
  );
  if (sharing || !others.some((one) => one.sharing))
    acts.push(
      does(2, sharing ? 'ends sharing' : 'shares the screen', () => bot.setSharing(!sharing)),
    );
  return acts;
}
