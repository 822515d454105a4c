// The player of background music.

import { useSignal } from '@preact/signals';
import { IconButton } from '../icons';
import { Choice, Row, Section, Slider, Toggle } from './controls';
import { Music, pieces } from './music';
import './musicPage.css';
import { useClassroom } from './useClass';
import { useKept } from './useKept';

const repeats = [
  [0, 'Once'],
  [1, 'Twice'],
  [9, 'Ten times'],
] as const;

export function MusicPage() {
  const classroom = useClassroom();
  const music = useKept('music', () => new Music(classroom));
  const isPlaying = music.state.value === 'playing';
  return (
    <>
      <Choice title="Piece" options={pieces} value={music.path} />
      <Choice title="Play it" options={repeats} value={music.loopCount} />
      <Toggle title="The others hear it" value={music.publish} />
      <div class="player">
        <Row>
          {isPlaying ? (
            <IconButton name="pause" title="Pause" press={() => void music.pause()} />
          ) : (
            <IconButton name="play" title="Play" press={() => void music.start()} />
          )}
          <IconButton
            name="stop"
            title="Stop"
            disabled={music.state.value === 'stopped'}
            press={() => void music.stop()}
          />
        </Row>
        <Position music={music} />
        <p class="hint" role="status">
          {music.status}
        </p>
      </div>
      <Section title="Volume">
        <Slider title="All music" value={music.allVolume} pick={(volume) => music.setAllVolume(volume)} />
        <Slider
          title="This piece, here"
          value={music.playoutVolume}
          pick={(playoutVolume) => music.setVolume({ playoutVolume })}
        />
        <Slider
          title="This piece, for others"
          value={music.publishVolume}
          pick={(publishVolume) => music.setVolume({ publishVolume })}
        />
      </Section>
    </>
  );
}

function Position({ music }: { music: Music }) {
  const sought = useSignal<number | undefined>(undefined); // while the slider is held
  const position = sought.value ?? music.positionMs.value;
  const seek = (ms: number) => {
    music.positionMs.value = ms;
    sought.value = undefined;
    void music.seek(ms);
  };
  return (
    <label class="slider">
      <span>Position</span>
      <output>{`${clock(position)} of ${clock(music.durationMs.value)}`}</output>
      <input
        type="range"
        aria-label="Position"
        aria-valuetext={clock(position)}
        min="0"
        max={music.durationMs.value}
        value={position}
        disabled={music.state.value === 'stopped'}
        onInput={({ currentTarget }) => (sought.value = Number(currentTarget.value))}
        onChange={({ currentTarget }) => seek(Number(currentTarget.value))}
      />
    </label>
  );
}

function clock(ms: number): string {
  const seconds = Math.floor(ms / 1000);
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
}
