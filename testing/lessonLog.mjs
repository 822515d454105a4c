// What a lesson that is played tells of itself, and the names of its pictures.

export class LessonLog {
  #lines = [];
  #begun = Date.now();
  #pictures = 0;

  tell(text) {
    const line = `${((Date.now() - this.#begun) / 1000).toFixed(1).padStart(5)} s  ${text}`;
    this.#lines.push(line);
    console.log(line);
  }

  /** Has `take` put the next picture into the file that it is given the name of. */
  async picture(name, take) {
    const file = `${String(++this.#pictures).padStart(2, '0')}-${name}.png`;
    await take(file);
    this.tell(`       picture ${file}`);
  }

  get text() {
    return `${this.#lines.join('\n')}\n`;
  }
}
