// Starts and controls sharing the own screen.

import { useLayoutEffect, useRef } from 'preact/hooks';
import { roles } from '../roles';
import { Button } from './controls';
import { useClass, useClassroom } from './useClass';

const stateWords = {
  off: 'You are not sharing anything.',
  starting: 'Starting …',
  on: 'The others see your screen.',
  paused: 'Sharing is paused.',
};

export function SharePage() {
  const { share } = useClassroom();
  const state = useClass((now) => now.share.state);
  const onStage = useClass(({ role }) => role === roles.stage);
  const words = useRef<HTMLParagraphElement>(null);
  // The button that was pressed goes with the state that it was for; the focus stays here.
  const stateBefore = useRef(state);
  useLayoutEffect(() => {
    const hasChanged = stateBefore.current !== state;
    stateBefore.current = state;
    if (hasChanged && document.activeElement === document.body && document.hasFocus()) words.current?.focus();
  }, [state]);
  return (
    <>
      <p class="hint" role="status" tabIndex={-1} ref={words}>
        {stateWords[state]}
      </p>
      {state === 'off' && share.canShareApplication && (
        <Button
          key="application"
          title="Share this application"
          disabled={!onStage}
          press={() => share.shareApplication()}
        />
      )}
      {state === 'off' && share.canShareScreen && (
        <Button
          key="screen"
          title="Share the whole screen"
          disabled={!onStage}
          press={() => share.shareScreen()}
        />
      )}
      {state === 'on' && <Button key="pause" title="Pause" press={() => share.pause()} />}
      {state === 'paused' && <Button key="pause" title="Resume" press={() => share.resume()} />}
      {(state === 'on' || state === 'paused') && (
        <Button key="stop" title="Stop sharing" press={() => share.stop()} />
      )}
    </>
  );
}
