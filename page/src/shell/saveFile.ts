/** Has the browser save a text of JSON lines. */
export function saveFile(name: string, text: string): void {
  const address = URL.createObjectURL(new Blob([text], { type: 'application/x-ndjson' }));
  const link = Object.assign(document.createElement('a'), { href: address, download: name });
  link.click();
  URL.revokeObjectURL(address);
}
