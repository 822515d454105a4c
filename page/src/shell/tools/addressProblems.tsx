// Says which parts of the window's address could not be used, and what it lacks.

import { IconButton } from '../../icons';
import { refusal } from '../access';
import type { Workbench } from '../workbench';
import './tools.css';

export function AddressProblems({ workbench }: { workbench: Workbench }) {
  const problems = [...(refusal.value ? [refusal.value] : []), ...workbench.addressProblems.value];
  if (problems.length === 0) return null;
  const close = () => {
    refusal.value = undefined;
    workbench.addressProblems.value = [];
  };
  return (
    <section class="address-problems" role="alert" aria-label="Address">
      <ul>
        {problems.map((problem) => (
          <li key={problem}>{problem}</li>
        ))}
      </ul>
      <IconButton name="close" title="Close notice" press={close} />
    </section>
  );
}
