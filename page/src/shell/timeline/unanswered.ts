export const unansweredWhen: Record<string, string> = {};
