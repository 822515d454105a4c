/** One page of the drawer. */
export interface DrawerPage {
  element: HTMLElement;
  update(): void;
  /** The room has been left. */
  leave?(): void;
}
