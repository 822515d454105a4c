// Students without a page: who there is, and what they are to do.

import { useSignal } from '@preact/signals';
import { IconButton } from '../../icons';
import type { Bot } from './bot';
import { bots, mostBots } from './bots';
import './tools.css';

// What the classroom's own form says, unless it is told otherwise.
const firstApplication = 20240001;
const firstRoom = 101;

export function BotsPage() {
  const all = bots.bots.value;
  return (
    <div class="tool-page">
      <AddBots />
      <div class="tool-state" data-on={bots.isLively.value}>
        <label class="tool-switch">
          <input
            type="checkbox"
            role="switch"
            checked={bots.isLively}
            disabled={all.length === 0}
            onChange={({ currentTarget }) => bots.setLively(currentTarget.checked)}
          />
          <span>A lively class</span>
        </label>
        <p role="status">{bots.isLively.value ? bots.lastAct.value || 'They begin.' : ''}</p>
      </div>
      {all.length === 0 && (
        <p class="tool-note">A bot enters the room as a phone of its own, without a page.</p>
      )}
      <ul class="tool-bots" aria-label="Bots">
        {all.map((bot) => (
          <BotLine key={bot.id} bot={bot} />
        ))}
      </ul>
      {all.length > 0 && (
        <button type="button" class="small" onClick={() => bots.removeAll()}>
          Remove all
        </button>
      )}
    </div>
  );
}

function AddBots() {
  const name = useSignal('');
  const application = useSignal(String(firstApplication));
  const room = useSignal(String(firstRoom));
  const count = useSignal('3');
  const role = useSignal<'stage' | 'audience'>('stage');
  const problem = useSignal('');
  const isFull = bots.bots.value.length >= mostBots;
  const add = (event: Event) => {
    event.preventDefault();
    const many = Number(count.value);
    const isNumber = (text: string) => /^\d+$/.test(text) && Number(text) <= 4294967295;
    const isCount = /^\d+$/.test(count.value) && many >= 1 && many <= mostBots;
    problem.value = !isNumber(room.value) || !isNumber(application.value)
      ? 'Room and application are numbers up to 4294967295.'
      : !isCount && name.value.trim() === ''
        ? `There can be 1 to ${mostBots} bots.`
        : '';
    if (problem.value) return;
    bots.add(many, {
      name: name.value.trim(),
      application: Number(application.value),
      room: Number(room.value),
      role: role.value,
    });
    name.value = '';
  };
  return (
    <form onSubmit={add} noValidate aria-label="Add bots">
      <div class="tool-row">
        <label class="tool-text">
          <span>Room</span>
          <input inputMode="numeric" value={room} onInput={({ currentTarget }) => (room.value = currentTarget.value)} />
        </label>
        <label class="tool-text">
          <span>Application</span>
          <input
            inputMode="numeric"
            value={application}
            onInput={({ currentTarget }) => (application.value = currentTarget.value)}
          />
        </label>
      </div>
      <div class="tool-row">
        <label class="tool-text">
          <span>How many</span>
          <input
            inputMode="numeric"
            value={count}
            disabled={name.value.trim() !== ''}
            onInput={({ currentTarget }) => (count.value = currentTarget.value)}
          />
        </label>
        <label class="tool-text">
          <span>Role</span>
          <select
            aria-label="Role"
            value={role}
            onChange={({ currentTarget }) => (role.value = currentTarget.value === 'stage' ? 'stage' : 'audience')}
          >
            <option value="stage">On stage</option>
            <option value="audience">Audience</option>
          </select>
        </label>
      </div>
      <label class="tool-text">
        <span>Name of a single one</span>
        <input
          value={name}
          placeholder={bots.freeName}
          maxLength={60}
          autocomplete="off"
          onInput={({ currentTarget }) => (name.value = currentTarget.value)}
        />
      </label>
      <div class="tool-actions">
        <button type="submit" class="strong" disabled={isFull}>
          Add
        </button>
        <p class="tool-problem" role="status">
          {isFull ? `There are ${mostBots} bots, and no more can be.` : problem}
        </p>
      </div>
    </form>
  );
}

const placeInWords = { coming: 'is coming', inside: 'in the room', outside: 'outside', gone: 'gone' };

function BotLine({ bot }: { bot: Bot }) {
  const { at, role, microphone, camera, sharing, network, trouble } = bot.state.value;
  const isInside = at === 'inside';
  const can = isInside && role === 'stage';
  const toggle = (title: string, isOn: boolean, isPossible: boolean, press: () => void) => (
    <button type="button" class="small" aria-pressed={isOn} disabled={!isPossible} onClick={press}>
      {title}
    </button>
  );
  return (
    <li aria-label={bot.name} data-bot={bot.name} data-at={at}>
      <div class="tool-bot">
        <p>
          <strong>{bot.name}</strong>{' '}
          <span class="tool-note">
            room {bot.room}, {role === 'stage' ? 'on stage' : 'audience'}, {placeInWords[at]}
          </span>
        </p>
        <IconButton name="close" title={`Remove ${bot.name}`} press={() => bots.remove(bot)} />
      </div>
      <div class="tool-actions">
        {toggle('Speak', microphone, can, () => bot.setMicrophone(!microphone))}
        {toggle('Camera', camera, can, () => bot.setCamera(!camera))}
        {toggle('Share', sharing, can, () => bot.setSharing(!sharing))}
        {toggle('Offline', network === 'cut', at !== 'gone', () =>
          bot.setNetwork(network === 'cut' ? 'good' : 'cut'),
        )}
        <button
          type="button"
          class="small"
          disabled={!isInside && at !== 'outside'}
          onClick={() => (isInside ? bot.leave() : bot.enter())}
        >
          {at === 'outside' ? 'Enter' : 'Leave'}
        </button>
      </div>
      {trouble && <p class="tool-problem">{trouble}</p>}
    </li>
  );
}
