// How long anything is waited for. A machine with other work is no failure, and what never comes is one all the same.

export const LIMIT_S = 120;
