import { Bridge } from 'vemo-client';

const bridge = new Bridge();
const given = new URLSearchParams(location.search); // what the simulator's address says
const userId = given.get('user') ?? `Guest ${Math.floor(Math.random() * 1000)}`;
const roomId = Number(given.get('room') ?? 101);
const room = { appScene: 1, sdkAppId: 20240001, userId, userSig: 'any', roomId };
const tell = (text: string) => document.querySelector('pre')!.append(`${text}\n`);

bridge.on('onRemoteUserEnterRoom', ({ remoteUserId }) => tell(`${remoteUserId} is here`));
document.querySelector('button')!.onclick = async () => {
  const { elapsed } = await bridge.enterRoom(room);
  tell(elapsed < 0 ? `could not enter: ${elapsed}` : `${userId} is in room ${roomId}`);
  document.querySelector<HTMLElement>('#me')!.dataset['nativeView'] = `${userId}/0`; // where the picture goes
  await bridge.startLocalPreview();
};
addEventListener('unhandledrejection', ({ reason }) => tell(String(reason)));
void bridge.initSDK().then(({ text }) => tell(text));
