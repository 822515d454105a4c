/** Has the browser save a file; a text is one of JSON lines. */
export function saveFile(name: string, file: string | Blob): void {
  const blob = typeof file === 'string' ? new Blob([file], { type: 'application/x-ndjson' }) : file;
  const address = URL.createObjectURL(blob);
  const link = Object.assign(document.createElement('a'), { href: address, download: name });
  link.click();
  URL.revokeObjectURL(address);
}
