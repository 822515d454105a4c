// Says which parts of the window's address could not be used.

import { IconButton } from '../../icons';
import type { Workbench } from '../workbench';
import './tools.css';

export function AddressProblems({ workbench }: { workbench: Workbench }) {
  const problems = workbench.addressProblems.value;
  if (problems.length === 0) return null;
  return (
    <section class="address-problems" role="alert" aria-label="Address">
      <ul>
        {problems.map((problem) => (
          <li key={problem}>{problem}</li>
        ))}
      </ul>
      <IconButton name="close" title="Close notice" press={() => (workbench.addressProblems.value = [])} />
    </section>
  );
}
