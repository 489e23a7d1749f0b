// The bundle builder library; filled in by the setup-description work.
