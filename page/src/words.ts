// What codes mean, in words for people.

import type { FailureCode } from '../client/src/protocol.js';

const errors: Record<number, string> = {
  [-1]: 'The request was not understood.',
  [-2]: 'That is not available right now.',
  [-3]: 'You have to be in a room for that.',
  [-1301]: 'The camera is off.',
  [-1314]: 'The camera can’t be used without your permission.',
  [-1317]: 'The microphone can’t be used without your permission.',
  [-3301]: 'The room refused to let you in.',
  [-3302]: 'You are already in a room.',
  [-3303]: 'You have to be in a room to change your role.',
  [-3304]: 'There is no such role.',
  [-3308]: 'The room did not answer in time. Is this phone online?',
  [-3309]: 'You left before you were in the room.',
  [-3310]: 'Nothing is being shared.',
  [-3316]: 'This room is full.',
  [-3317]: 'This application is not known to the classroom service.',
  [-3318]: 'There is no room with that number.',
  [-3319]: 'Please enter a name.',
  [-3320]: 'Your signature is not valid, so the room can’t be sure who you are.',
  [-4001]: 'That piece of music can’t be found.',
  [-4002]: 'Nothing lies between the start and the end of the music.',
  [-4003]: 'No more music can play at once.',
  [-100013]: 'The classroom service is suspended.',
} satisfies Record<FailureCode, string>;

/** An error code in words; the code itself where it is unknown. */
export function errorInWords(code: number): string {
  return errors[code] ?? `Something went wrong (code ${code}).`;
}

/** Why somebody left the room, to follow their name. */
export function leaveInWords(reason: number): string {
  switch (reason) {
    case 1:
      return 'lost the connection';
    case 2:
      return 'was removed from the room';
    case 3:
      return 'is listening now';
    default:
      return 'left';
  }
}

/** Why the own user is out of the room without having asked for it. */
export function exitInWords(reason: number): string {
  switch (reason) {
    case 1:
      return 'You were removed from the room. Who enters with your name takes your place.';
    case 2:
      return 'The room was closed.';
    default:
      return 'You are out of the room.';
  }
}

const qualities = ['unknown', 'excellent', 'good', 'fair', 'poor', 'very poor', 'unusable'];

export function qualityInWords(quality: number): string {
  return qualities[quality] ?? 'unknown';
}
