/** The numbers of the protocol's roles: who may send in a room, and who listens and watches. */
export const roles = { stage: 20, audience: 21 } as const;
